#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <string>

namespace test_support {

/// A port of 127.0.0.1 that stays refused, because it is taken and nobody listens.
class RefusingPort {
public:
    using tcp = boost::asio::ip::tcp;

    RefusingPort()
        : socket_(context_, tcp::endpoint(boost::asio::ip::make_address("127.0.0.1"), 0)) {}
    tcp::endpoint endpoint() const { return socket_.local_endpoint(); }
    std::string port() const { return std::to_string(endpoint().port()); }

private:
    boost::asio::io_context context_;
    tcp::socket socket_;
};

} // namespace test_support
