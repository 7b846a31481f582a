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

/// What becomes of those who knock: let in, left without an answer, or refused.
enum class Door { open, mute, closed };

/// Takes TCP connections: one thread, any number of them, each served by a coroutine.
class ConnectionServer {
public:
    using Serve = std::function<boost::asio::awaitable<void>(Socket)>;
    using LookAtDoor = std::function<Door()>;

    /// Listens, but serves nobody before start(). The text of what it throws names the address and
    /// the port; port 0 is a free one.
    ConnectionServer(const std::string &address, std::uint16_t port);
    /// Ends every connection, whatever it waits for.
    ~ConnectionServer();

    /// Both are called on the server's thread. Once the door, which is looked at before each
    /// connection, is not open, nobody gets through any more.
    void start(Serve serve, LookAtDoor look = {});

    boost::asio::ip::tcp::endpoint endpoint() const { return endpoint_; }

    /// Looks at the door again; returns when that is settled.
    void mind_the_door();

private:
    boost::asio::awaitable<void> accept_all();
    void close_unless_open();
    bool is_closed() const { return door_stop_.is_open() || !acceptor_.is_open(); }

    boost::asio::io_context io_{1};
    boost::asio::ip::tcp::acceptor acceptor_;
    const boost::asio::ip::tcp::endpoint endpoint_;
    Socket door_stop_{io_}; ///< fills the queue of connections not accepted yet
    Serve serve_;
    LookAtDoor look_;
    std::thread thread_;
};

} // namespace broker_sim
