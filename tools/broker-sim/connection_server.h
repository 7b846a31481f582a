#pragma once
#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace broker_sim {

using Socket = boost::asio::ip::tcp::socket;

boost::asio::awaitable<void> pause(std::chrono::milliseconds time);

/// Waits until the server stops, which destroys the coroutine.
boost::asio::awaitable<void> stall();

/// Ends a connection with a reset.
void reset(Socket &socket);

/// Takes TCP connections: one thread, any number of them, each served by a coroutine.
class ConnectionServer {
public:
    using Serve = std::function<boost::asio::awaitable<void>(Socket)>;
    using Refuse = std::function<bool()>;

    /// Listens, but serves nobody before start(). The text of what it throws names the address and
    /// the port; port 0 is a free one.
    ConnectionServer(const std::string &address, std::uint16_t port);
    /// Ends every connection, whatever it waits for.
    ~ConnectionServer();

    /// Both are called on the server's thread. From the moment on that `refuse` says so, which is
    /// asked before each connection, nobody gets through any more.
    void start(Serve serve, Refuse refuse = {});

    boost::asio::ip::tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }

    /// Asks again whether to refuse; returns when that is settled.
    void reconsider_refusing();

private:
    boost::asio::awaitable<void> accept_all();
    void close_the_door_if_refusing();

    boost::asio::io_context io_{1};
    boost::asio::ip::tcp::acceptor acceptor_;
    Socket door_stop_{io_}; ///< fills the queue of connections not accepted yet
    Serve serve_;
    Refuse refuse_;
    std::thread thread_;
};

} // namespace broker_sim
