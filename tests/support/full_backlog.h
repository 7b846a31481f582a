#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <vector>

namespace test_support {

/// A listening socket on 127.0.0.1 that takes no more connections: whoever connects to it waits.
class FullBacklog {
public:
    FullBacklog();

    boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }

private:
    boost::asio::io_context context_;
    boost::asio::ip::tcp::acceptor acceptor_;
    std::vector<boost::asio::ip::tcp::socket> waiting_;
};

} // namespace test_support
