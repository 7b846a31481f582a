#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Certificates and keys on PKCS #11 tokens: smart cards, security modules, their doubles in files.
namespace token {

/// What is wrong with the token, in one sentence.
class TokenError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Which certificate is meant: a PKCS #11 URI (RFC 7512), as
/// "pkcs11:token=Card;object=Log-in;id=%01?module-path=/usr/lib/card.so".
class TokenUri {
public:
    explicit TokenUri(const std::string &text);

    std::optional<std::string> module_path() const;
    std::optional<std::string> pin_source() const;
    /// Whether the PIN stands in the URI itself.
    bool has_pin_value() const;

private:
    friend class TokenSigner;
    struct Parsed;
    std::shared_ptr<const Parsed> parsed_;
};

/// The certificate that a URI names, and its private key, which does not leave the token. The
/// session with the token lasts as long as this object.
class TokenSigner {
public:
    /// Is given the name of a token and passes its PIN to `log_in`, which keeps no copy: it is for
    /// whoever found it out to wipe it. Called at most once, and not for readers with a keypad of
    /// their own. A wrong PIN is not tried again, because tokens lock themselves after a few.
    using LogIn = std::function<void(std::string_view pin)>;
    using AskPin = std::function<void(const std::string &token_name, const LogIn &log_in)>;

    /// Looks in the module of this path, or, without one, in all that are registered with p11-kit.
    TokenSigner(const TokenUri &uri, const std::optional<std::string> &module_path,
                const AskPin &ask_pin);
    ~TokenSigner();
    TokenSigner(const TokenSigner &) = delete;
    TokenSigner &operator=(const TokenSigner &) = delete;

    /// In DER form.
    const std::vector<std::uint8_t> &certificate() const;

    /// The PKCS #1 v1.5 signature over a digest of SHA-256, SHA-384 or SHA-512.
    std::vector<std::uint8_t> sign(std::span<const std::uint8_t> digest);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace token
