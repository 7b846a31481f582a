#pragma once

#include "interruption.h"
#include "options.h"
#include "prompts.h"

#include <kavro_broker_records.hpp>

#include <memory>
#include <optional>
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

    const kavro_broker::bytes &der() const;

    /// The token's signature of a digest, or nothing when it makes none.
    std::optional<kavro_broker::bytes> sign(const kavro_broker::bytes &digest);

    /// Why the last signature was not made; else empty.
    const std::string &problem() const { return problem_; }

private:
    std::unique_ptr<token::TokenSigner> signer_;
    std::string problem_;
};

} // namespace kavro_cli
