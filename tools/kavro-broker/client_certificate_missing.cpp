#include "client_certificate.h"

#include "failure.h"

// In place of client_certificate.cpp where no PKCS #11 tokens can be reached.

namespace token {
class TokenSigner {};
} // namespace token

namespace kavro_cli {

ClientCertificate::ClientCertificate(const ClientCertificateOptions &, Prompts *,
                                     const Interruption &) {
    throw Failure(ExitStatus::usage, "CLIENT_CERTIFICATE",
                  "This program reaches no PKCS #11 tokens on this system.");
}

ClientCertificate::~ClientCertificate() = default;

void ClientCertificate::install(kavro_broker_handle) {}

} // namespace kavro_cli
