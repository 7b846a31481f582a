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

const kavro_broker::bytes &ClientCertificate::der() const {
    static const kavro_broker::bytes none;
    return none;
}

std::optional<kavro_broker::bytes> ClientCertificate::sign(const kavro_broker::bytes &) {
    return std::nullopt;
}

} // namespace kavro_cli
