#pragma once

#include "connection_server.h"

#include <string>

// Ports of 127.0.0.1 to which nobody gets through.

namespace test_support {

using boost::asio::ip::tcp;

/// Refused, because it is taken and nobody listens.
class RefusingPort {
public:
    tcp::endpoint endpoint() const { return socket_.local_endpoint(); }
    std::string port() const { return std::to_string(endpoint().port()); }

private:
    boost::asio::io_context context_;
    tcp::socket socket_{context_, tcp::endpoint(boost::asio::ip::make_address("127.0.0.1"), 0)};
};

/// Listens and takes no more connections: whoever connects to it waits.
class FullBacklog {
public:
    FullBacklog() {
        server_.start({}, [] { return broker_sim::Door::mute; });
        server_.mind_the_door();
    }

    tcp::endpoint endpoint() const { return server_.endpoint(); }
    std::string port() const { return std::to_string(endpoint().port()); }

private:
    broker_sim::ConnectionServer server_{"127.0.0.1", 0};
};

} // namespace test_support
