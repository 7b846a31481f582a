#include "transport/proxy/proxy_log_in.h"

#include "transport/proxy/digest.h"
#include "utils/src/ascii.h"
#include "utils/src/base64.h"
#include "utils/src/openssl_handles.h"

#include <openssl/rand.h>

#include <algorithm>
#include <array>

namespace kavro {

namespace {

/// Once it was said and refused, it is not said again in another way; no more is a ticket.
struct Password {
    const Proxy &proxy;
    bool said = false, ticket_said = false;

    bool known() const { return !proxy.user.empty(); }
};

std::string random_text() {
    std::array<unsigned char, 18> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw_openssl_error("RAND_bytes");
    return std::string(encode_base64(std::as_bytes(std::span(bytes))));
}

/// RFC 4559, and NTLM in the same way.
class TokenLogIn final : public LogInScheme {
public:
    TokenLogIn(const char *name, std::shared_ptr<Password> password, const Tickets &tickets)
        : name_(name), password_(std::move(password)), tickets_(tickets) {}

    const char *name() const override { return name_; }
    std::string_view reason() const override { return reason_; }

    std::optional<SecureText> answer(std::span<const Challenge> challenges) override {
        return tokens_ ? go_on(challenges.front().token) : begin();
    }

private:
    std::optional<SecureText> begin() {
        tokens_ = tickets_(name_, password_->proxy);
        bool &said = tokens_->are_by_password() ? password_->said : password_->ticket_said;
        if (said)
            return std::nullopt;
        auto token = next({});
        said = token.has_value();
        return token;
    }

    /// A challenge without a token is now a refusal.
    std::optional<SecureText> go_on(std::string_view challenge) {
        const auto received = decode_base64(challenge);
        if (!received)
            return no_answer("the proxy's token is mangled");
        return received->empty() ? std::nullopt
                                 : next(SecureText(received->begin(), received->end()));
    }

    std::optional<SecureText> next(const SecureText &received) {
        const auto token = tokens_->next(received);
        if (!token)
            return no_answer(token.error());
        return SecureText(name_) + " " + encode_base64(std::as_bytes(std::span(*token)));
    }

    std::nullopt_t no_answer(const std::string &reason) {
        reason_ = reason;
        return std::nullopt;
    }

    const char *const name_;
    const std::shared_ptr<Password> password_;
    const Tickets tickets_;
    std::unique_ptr<Tokens> tokens_;
    std::string reason_;
};

/// RFC 7616.
class DigestLogIn final : public LogInScheme {
public:
    DigestLogIn(std::shared_ptr<Password> password, std::string uri)
        : password_(std::move(password)), uri_(std::move(uri)) {}

    const char *name() const override { return "Digest"; }

    std::optional<SecureText> answer(std::span<const Challenge> challenges) override {
        const auto best = std::ranges::max_element(challenges, {}, strength_of);
        if (!password_->known() || strength_of(*best) == 0 || (password_->said && !is_stale(*best)))
            return std::nullopt;
        password_->said = said_ = true;
        return digest_answer(*best, {.user = password_->proxy.user,
                                     .password = password_->proxy.password,
                                     .method = "CONNECT",
                                     .uri = uri_,
                                     .client_nonce = random_text()});
    }

private:
    /// The log-in was right, but the nonce too old: there is a new one.
    bool is_stale(const Challenge &challenge) const {
        return said_ && ascii::equal_ignoring_case(challenge.parameter("stale"), "true");
    }

    const std::shared_ptr<Password> password_;
    const std::string uri_;
    bool said_ = false;
};

/// RFC 7617.
class BasicLogIn final : public LogInScheme {
public:
    explicit BasicLogIn(std::shared_ptr<Password> password) : password_(std::move(password)) {}

    const char *name() const override { return "Basic"; }

    std::optional<SecureText> answer(std::span<const Challenge>) override {
        const std::string &user = password_->proxy.user;
        if (!password_->known() || password_->said || user.find(':') != user.npos)
            return std::nullopt;
        password_->said = true;
        SecureText both;
        both.reserve(user.size() + 1 + password_->proxy.password.size() + 16);
        both.append(user).append(":").append(password_->proxy.password);
        return "Basic " + encode_base64(std::as_bytes(std::span(both)));
    }

private:
    const std::shared_ptr<Password> password_;
};

} // namespace

ProxyLogIn::ProxyLogIn(const Proxy &proxy, std::string uri, const Tickets &tickets) {
    const auto password = std::make_shared<Password>(Password{proxy});
    for (const char *const name : {"Negotiate", "NTLM"})
        schemes_.push_back(std::make_unique<TokenLogIn>(name, password, tickets));
    schemes_.push_back(std::make_unique<DigestLogIn>(password, std::move(uri)));
    schemes_.push_back(std::make_unique<BasicLogIn>(password));
}

std::optional<SecureText> ProxyLogIn::answer(std::span<const Challenge> challenges) {
    if (rounds_++ == most_rounds)
        return std::nullopt;
    for (; current_ < schemes_.size(); ++current_) {
        std::vector<Challenge> offered;
        std::ranges::copy_if(challenges, std::back_inserter(offered), [&](const auto &challenge) {
            return ascii::equal_ignoring_case(challenge.scheme, schemes_[current_]->name());
        });
        if (offered.empty())
            continue;
        if (auto words = schemes_[current_]->answer(offered))
            return words;
    }
    return std::nullopt;
}

std::string ProxyLogIn::reasons() const {
    std::string text;
    for (const auto &scheme : schemes_)
        if (const auto reason = scheme->reason(); !reason.empty())
            text.append(text.empty() ? " (" : "; ")
                .append(scheme->name())
                .append(": ")
                .append(reason);
    return text.empty() ? text : text + ")";
}

} // namespace kavro
