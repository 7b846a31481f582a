#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <vector>

namespace test_support {

/// A listening socket on 127.0.0.1 that takes no more connections: whoever connects to it waits.
class FullBacklog {
public:
    using tcp = boost::asio::ip::tcp;

    FullBacklog() : acceptor_(context_, tcp::v4()) {
        acceptor_.bind({boost::asio::ip::make_address("127.0.0.1"), 0});
        acceptor_.listen(0);
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

    tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }

private:
    boost::asio::io_context context_;
    tcp::acceptor acceptor_;
    std::vector<tcp::socket> waiting_;
};

} // namespace test_support
