#pragma once
#include "connection_server.h"
#include "http_message.h"
#include "scenario.h"

#include <boost/asio/awaitable.hpp>

#include <string>

namespace broker_sim {

/// A client of SOCKS 5 (RFC 1928), which asks for the same as one of HTTP that says CONNECT.
class SocksClient {
public:
    SocksClient(Socket &socket, const Proxy &proxy) : socket_(socket), proxy_(proxy) {}

    /// The request, or one without a target when the client may not even ask.
    boost::asio::awaitable<HttpRequest> read();
    std::string bytes(const HttpAnswer &answer, const Fault &fault) const;

private:
    boost::asio::awaitable<bool> log_in();
    boost::asio::awaitable<std::string> read_host();
    boost::asio::awaitable<std::string> take(std::size_t size);
    boost::asio::awaitable<std::string> take_text(); ///< whose length comes first
    boost::asio::awaitable<void> say(std::string bytes);

    Socket &socket_;
    const Proxy &proxy_;
    HttpRequest request_{.well_formed = true, .method = "CONNECT"};
    std::string refusal_{}; ///< while the client may not ask
};

} // namespace broker_sim
