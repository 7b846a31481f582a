#pragma once

#include "transport/proxy/challenge.h"
#include "transport/proxy/proxy_tickets.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kavro {

/// One way to log in to an HTTP proxy, for one connection to a server.
class LogInScheme {
public:
    virtual ~LogInScheme() = default;
    virtual const char *name() const = 0;
    /// The value of the Proxy-Authorization field, in answer to challenges of this scheme; nothing
    /// when there is no answer, or none that has not been refused.
    virtual std::optional<SecureText> answer(std::span<const Challenge> challenges) = 0;
    /// Why there was no answer, when that is worth telling.
    virtual std::string_view reason() const { return {}; }
};

/// Logs in to an HTTP proxy: by the strongest scheme that it offers and that this machine can do,
/// no more than four times.
class ProxyLogIn {
public:
    static constexpr int most_rounds = 4;

    /// @param uri what the requests ask for.
    ProxyLogIn(const Proxy &proxy, std::string uri, const Tickets &tickets);

    std::optional<SecureText> answer(std::span<const Challenge> challenges);
    /// Which schemes were passed over for which reason, as " (Negotiate: no ticket)".
    std::string reasons() const;

private:
    std::vector<std::unique_ptr<LogInScheme>> schemes_; ///< the strongest first
    std::size_t current_ = 0;
    int rounds_ = 0;
};

} // namespace kavro
