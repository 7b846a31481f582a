#pragma once

#include "transport/proxy/proxy.h"
#include "utils/src/expected.h"

#include <functional>
#include <memory>

namespace kavro {

class Waiter;

/// The tokens of one log-in to a proxy. They stand for the user, and are secrets.
class Tokens {
public:
    virtual ~Tokens() = default;
    /// The next one, in answer to the proxy's, of which there is none at first; or why there is
    /// none.
    virtual Expected<SecureText> next(const SecureText &received) = 0;
    /// Whether they are made of the name and the password that the proxy's setting has, and not of
    /// what the user has on this machine.
    virtual bool are_by_password() const = 0;
};

/// Who makes the tokens of a scheme, "Negotiate" or "NTLM".
using Tickets = std::function<std::unique_ptr<Tokens>(const char *scheme, const Proxy &proxy)>;

/// The system's, which may take their time: until the waiter's patience is over.
Tickets system_tickets(Waiter &waiter);

/// What the system has to say itself. It may block.
std::unique_ptr<Tokens> blocking_system_tokens(const char *scheme, const Proxy &proxy);

} // namespace kavro
