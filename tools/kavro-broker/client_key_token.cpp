#include "client_key.h"

#include "failure.h"
#include "token_signer.h"

#include <string_view>

namespace kavro_cli {

const ClientKeyForm client_key_form = {
    "PKCS11-URI", "Show this certificate to a broker that asks for one, and sign with its key on "
                  "the token, e.g. \"pkcs11:token=Card;object=Log-in\""};
namespace {

Failure token_failure(const std::string &sentence) {
    return {ExitStatus::usage, "CLIENT_CERTIFICATE", sentence};
}

/// The descriptor that a URI names as the source of its PIN, as "fd:3"; else what the options say.
SecretSource pin_source(const token::TokenUri &uri, const SecretSource &by_option) {
    const auto source = uri.pin_source();
    if (!source)
        return by_option;
    constexpr std::string_view scheme = "fd:";
    if (source->starts_with(scheme))
        if (const auto descriptor = descriptor_source("pin-source", source->substr(scheme.size())))
            return *descriptor;
    throw token_failure("The pin-source of a PKCS #11 URI must be a descriptor here: fd:N.");
}

Secret find_pin(const std::string &token_name, const SecretSource &source, Prompts *prompts_or_null,
                const Interruption &interruption) {
    if (source)
        return source.read(interruption);
    if (prompts_or_null == nullptr)
        throw Failure(ExitStatus::no_answer, "NO_ANSWER",
                      "The token asks for its PIN, and nobody can be asked: give --token-pin-fd.");
    return prompts_or_null->secret("PIN of the token " + token_name);
}

std::unique_ptr<token::TokenSigner> open_token(const ClientCertificateOptions &options,
                                               Prompts *prompts_or_null,
                                               const Interruption &interruption) {
    try {
        const token::TokenUri uri(options.uri.value());
        if (uri.has_pin_value())
            throw Failure(ExitStatus::usage, "SECRET_ON_COMMAND_LINE",
                          "A PIN does not belong on the command line, where everybody can read "
                          "it: give --token-pin-fd.");
        const auto source = pin_source(uri, options.pin);
        return std::make_unique<token::TokenSigner>(
            uri, options.module_path, [&](const std::string &token_name, const auto &log_in) {
                const Secret pin = find_pin(token_name, source, prompts_or_null, interruption);
                log_in(pin.view());
            });
    } catch (const token::TokenError &error) {
        throw token_failure(error.what());
    }
}

class TokenKey final : public ClientKey {
public:
    explicit TokenKey(std::unique_ptr<token::TokenSigner> signer) : signer_(std::move(signer)) {}

    const std::vector<kavro_broker::bytes> &certificates() const override {
        return signer_->certificates();
    }
    bool knows_pss() const override { return signer_->knows_pss(); }
    kavro_broker::bytes sign(std::uint16_t scheme, const kavro_broker::bytes &digest) override {
        return signer_->sign(scheme, digest);
    }

private:
    std::unique_ptr<token::TokenSigner> signer_;
};

} // namespace

std::unique_ptr<ClientKey> open_client_key(const ClientCertificateOptions &options,
                                           Prompts *prompts_or_null,
                                           const Interruption &interruption) {
    return std::make_unique<TokenKey>(open_token(options, prompts_or_null, interruption));
}

} // namespace kavro_cli
