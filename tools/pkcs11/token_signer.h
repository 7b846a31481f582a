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

/// The certificate that a URI names, and its private key, RSA or EC, which does not leave the
/// token. The session with the token lasts as long as this object.
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

    /// In DER form: the certificate, and those of its issuers that are on the token as well, but
    /// for the root, which is worth nothing to whoever does not have it.
    const std::vector<std::vector<std::uint8_t>> &certificates() const;

    /// Whether the token makes RSA signatures by PSS.
    bool knows_pss() const;

    /// The signature by a TLS SignatureScheme (RFC 8446 section 4.2.3) over a digest of SHA-256,
    /// SHA-384 or SHA-512; that of ECDSA is r and s, one behind the other.
    std::vector<std::uint8_t> sign(std::uint16_t scheme, std::span<const std::uint8_t> digest);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace token
