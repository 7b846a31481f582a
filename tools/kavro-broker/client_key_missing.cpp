#include "client_key.h"
#include "failure.h"

// In place of client_key_token.cpp where no PKCS #11 tokens can be reached.

namespace kavro_cli {

const ClientKeyForm client_key_form = {
    "PKCS11-URI", "Show this certificate to a broker that asks for one, and sign with its key on "
                  "the token, e.g. \"pkcs11:token=Card;object=Log-in\""};

std::unique_ptr<ClientKey> open_client_key(const ClientCertificateOptions &, Prompts *,
                                           const Interruption &) {
    throw Failure(ExitStatus::usage, "CLIENT_CERTIFICATE",
                  "This program reaches no PKCS #11 tokens on this system.");
}

} // namespace kavro_cli
