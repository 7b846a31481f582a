#pragma once
#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace broker_sim {

/// Shows a browser on this machine what goes on: plain HTTP on 127.0.0.1, nothing to write.
class StatusServer {
public:
    /// `status` gives the JSON that the page draws; it is called on the server's own thread.
    /// Port 0 is a free one. Throws when it cannot listen.
    StatusServer(std::uint16_t port, std::function<std::string()> status);
    ~StatusServer();

    std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

private:
    boost::asio::awaitable<void> accept_all();
    boost::asio::awaitable<void> serve(boost::asio::ip::tcp::socket socket);

    boost::asio::io_context io_{1};
    boost::asio::ip::tcp::acceptor acceptor_;
    std::function<std::string()> status_;
    std::thread thread_;
};

} // namespace broker_sim
