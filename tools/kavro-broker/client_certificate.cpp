#include "client_certificate.h"

#include "answers.h"
#include "failure.h"
#include "token_signer.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace kavro_cli {
namespace {

Failure token_failure(const std::string &sentence) {
    return {ExitStatus::usage, "CLIENT_CERTIFICATE", sentence};
}

/// The descriptor that a URI names as the source of its PIN, as "fd:3".
std::optional<int> pin_descriptor(const token::TokenUri &uri) {
    const auto source = uri.pin_source();
    if (!source)
        return std::nullopt;
    constexpr std::string_view scheme = "fd:";
    const char *end = source->data() + source->size();
    int descriptor = -1;
    if (source->starts_with(scheme)) {
        const auto [rest, error] = std::from_chars(source->data() + scheme.size(), end, descriptor);
        if (error == std::errc() && rest == end && descriptor >= 0)
            return descriptor;
    }
    throw token_failure("The pin-source of a PKCS #11 URI must be a descriptor here: fd:N.");
}

Secret find_pin(const std::string &token_name, std::optional<int> descriptor,
                Prompts *prompts_or_null, const Interruption &interruption) {
    if (descriptor)
        return read_secret(*descriptor, interruption);
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
        const auto named = pin_descriptor(uri);
        const auto descriptor = named ? named : options.pin_descriptor;
        return std::make_unique<token::TokenSigner>(
            uri, options.module_path, [&](const std::string &token_name, const auto &log_in) {
                const Secret pin = find_pin(token_name, descriptor, prompts_or_null, interruption);
                log_in(pin.view());
            });
    } catch (const token::TokenError &error) {
        throw token_failure(error.what());
    }
}

} // namespace

ClientCertificate::ClientCertificate(const ClientCertificateOptions &options,
                                     Prompts *prompts_or_null, const Interruption &interruption)
    : signer_(open_token(options, prompts_or_null, interruption)) {}

ClientCertificate::~ClientCertificate() = default;

const kavro_broker::bytes &ClientCertificate::der() const {
    return signer_->certificate();
}

std::optional<kavro_broker::bytes> ClientCertificate::sign(const kavro_broker::bytes &digest) {
    try {
        problem_.clear();
        return signer_->sign(digest);
    } catch (const std::exception &error) {
        problem_ = error.what();
        return std::nullopt;
    }
}

} // namespace kavro_cli
