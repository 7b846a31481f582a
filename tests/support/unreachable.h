#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <string>
#include <vector>

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
        listener_.listen(0);
        // How many connections the system queues beyond the stated none is its own affair: fill up
        // until one is left waiting for longer than a loopback connection takes.
        for (bool taken = true; taken;) {
            taken = false;
            waiting_.emplace_back(context_).async_connect(
                endpoint(), [&taken](const boost::system::error_code &error) { taken = !error; });
            context_.restart();
            context_.run_for(std::chrono::milliseconds(50));
        }
    }

    tcp::endpoint endpoint() const { return listener_.local_endpoint(); }
    std::string port() const { return std::to_string(endpoint().port()); }

private:
    boost::asio::io_context context_;
    tcp::acceptor listener_{context_, tcp::endpoint(boost::asio::ip::make_address("127.0.0.1"), 0)};
    std::vector<tcp::socket> waiting_;
};

} // namespace test_support
