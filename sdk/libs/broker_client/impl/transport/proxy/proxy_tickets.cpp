#include "transport/proxy/proxy_tickets.h"

#include "transport/blocking_call.h"

#include <cstdlib>

namespace kavro {

namespace {

/// Asks the system on another thread. What is abandoned there owns all that it uses.
class SystemTokens final : public Tokens {
public:
    SystemTokens(std::unique_ptr<Tokens> system, Waiter &waiter)
        : system_(std::move(system)), waiter_(waiter) {}

    Expected<SecureText> next(const SecureText &received) override {
        boost::system::error_code error;
        auto token = BlockingCall::ask(
            [system = system_, received] { return system->next(received); }, waiter_, error);
        if (!token)
            return error.message();
        return std::move(*token);
    }

    bool are_by_password() const override { return system_->are_by_password(); }

private:
    const std::shared_ptr<Tokens> system_;
    Waiter &waiter_;
};

/// For programs that must not tell anybody who their user is.
class NoTokens final : public Tokens {
public:
    Expected<SecureText> next(const SecureText &) override {
        return std::string("KAVRO_BROKER_NO_TICKETS is set");
    }
    bool are_by_password() const override { return false; }
};

} // namespace

Tickets system_tickets(Waiter &waiter) {
    return [&waiter](const char *scheme, const Proxy &proxy) -> std::unique_ptr<Tokens> {
        if (std::getenv("KAVRO_BROKER_NO_TICKETS") != nullptr)
            return std::make_unique<NoTokens>();
        return std::make_unique<SystemTokens>(blocking_system_tokens(scheme, proxy), waiter);
    };
}

} // namespace kavro
