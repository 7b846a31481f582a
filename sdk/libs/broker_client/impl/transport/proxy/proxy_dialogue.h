#pragma once

#include "transport/proxy/proxy_tickets.h"

#include <boost/asio/ip/address.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kavro {

/// What a client and a proxy say to each other until the server is at the other end. It knows no
/// socket: bytes in, bytes out. Nothing secret is in it before the proxy asks.
class ProxyDialogue {
public:
    enum class Next {
        send,      ///< request(), and then read
        read,      ///< more of the answer
        reconnect, ///< go on with a new connection
        open,      ///< the server is at the other end
        refused,   ///< reason() says why
        log_in     ///< is wanted, and there is none, or none that has not been refused
    };

    virtual ~ProxyDialogue() { wipe(request_); }
    ProxyDialogue() = default;
    ProxyDialogue(const ProxyDialogue &) = delete;
    ProxyDialogue &operator=(const ProxyDialogue &) = delete;

    /// The proxy is connected, or is so again.
    virtual Next connected() = 0;
    virtual Next received(std::string_view bytes) = 0;
    /// The proxy has ended the connection.
    virtual Next ended() = 0;

    const SecureText &request() const { return request_; }
    const std::string &reason() const { return reason_; }
    /// Of the last answer: the status of HTTP, the reply of SOCKS; 0 for none.
    int status() const { return status_; }
    /// What came behind the consent: it belongs to the server.
    SecureText take_early_bytes() { return std::move(early_bytes_); }

protected:
    Next refused(std::string reason) {
        reason_ = std::move(reason);
        return Next::refused;
    }
    /// @param more is said behind it.
    Next wants_log_in(bool another, std::string_view more = {}) {
        reason_ = another ? "the proxy refuses the log-in" : "the proxy wants a log-in";
        reason_ += more;
        return Next::log_in;
    }

    SecureText request_;
    SecureText early_bytes_;
    std::string reason_;
    int status_ = 0;
};

using Addresses = std::vector<boost::asio::ip::address>;

/// The tickets may make it wait.
std::unique_ptr<ProxyDialogue> http_dialogue(const Proxy &proxy, const Peer &target,
                                             const Tickets &tickets);
/// @param addresses of the target, to be tried in this order; none lets the proxy look it up.
std::unique_ptr<ProxyDialogue> socks_dialogue(const Proxy &proxy, const Peer &target,
                                              Addresses addresses);

} // namespace kavro
