#pragma once

#include "interruption.h"
#include "options.h"
#include "prompts.h"

#include <kavro_broker_extras.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace token {
class TokenSigner;
}

namespace kavro_cli {

/// The certificate on a token that is shown to brokers that ask for one. The token is unlocked from
/// the beginning, so that nobody is asked for its PIN while a broker waits.
class ClientCertificate {
public:
    /// `prompts_or_null` asks for the PIN when no descriptor has it.
    ClientCertificate(const ClientCertificateOptions &options, Prompts *prompts_or_null,
                      const Interruption &interruption);
    ~ClientCertificate();
    ClientCertificate(const ClientCertificate &) = delete;
    ClientCertificate &operator=(const ClientCertificate &) = delete;

    /// Lets the handle sign with the token's key. This object must outlive it.
    void install(kavro_broker_handle handle);

    /// Why the last signature was not made; else empty.
    const std::string &problem() const { return problem_; }

private:
    static int sign(void *context, const uint8_t *digest, std::size_t digest_length,
                    uint8_t *signature, std::size_t *signature_length) noexcept;

    std::unique_ptr<token::TokenSigner> signer_;
    std::string problem_;
};

} // namespace kavro_cli
