#include "connection_server.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <future>
#include <stdexcept>

namespace broker_sim {
namespace asio = boost::asio;
using asio::awaitable;
using asio::use_awaitable;
using asio::ip::tcp;

namespace {

tcp::acceptor listen(asio::io_context &io, const std::string &address, std::uint16_t port) {
    try {
        return tcp::acceptor(io, tcp::endpoint(asio::ip::make_address(address), port));
    } catch (const boost::system::system_error &error) {
        throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port) +
                                 ": " + error.code().message());
    }
}

} // namespace

awaitable<void> pause(std::chrono::milliseconds time) {
    asio::steady_timer timer(co_await asio::this_coro::executor, time);
    co_await timer.async_wait(use_awaitable);
}

awaitable<void> stall() {
    asio::steady_timer timer(co_await asio::this_coro::executor,
                             asio::steady_timer::time_point::max());
    co_await timer.async_wait(use_awaitable);
}

void reset(Socket &socket) {
    socket.set_option(asio::socket_base::linger(true, 0));
    socket.close();
}

ConnectionServer::ConnectionServer(const std::string &address, std::uint16_t port)
    : acceptor_(listen(io_, address, port)), endpoint_(acceptor_.local_endpoint()) {}

void ConnectionServer::start(Serve serve, LookAtDoor look) {
    serve_ = std::move(serve);
    look_ = std::move(look);
    asio::co_spawn(io_, accept_all(), asio::detached);
    thread_ = std::thread([this] { io_.run(); });
}

ConnectionServer::~ConnectionServer() {
    io_.stop();
    if (thread_.joinable())
        thread_.join();
}

void ConnectionServer::mind_the_door() {
    std::promise<void> settled;
    asio::post(io_, [&] {
        close_unless_open();
        settled.set_value();
    });
    settled.get_future().wait();
}

/// With no room in the queue of connections that wait to be accepted, and one in it that is never
/// accepted, the kernel ignores whoever else would connect.
void ConnectionServer::close_unless_open() {
    const Door door = look_ ? look_() : Door::open;
    if (door == Door::open || is_closed())
        return;
    if (door == Door::closed)
        return acceptor_.close();
    acceptor_.cancel();
    acceptor_.listen(0);
    door_stop_.connect(endpoint());
}

awaitable<void> ConnectionServer::accept_all() {
    for (;;) {
        close_unless_open();
        if (is_closed())
            co_await stall();
        boost::system::error_code error;
        Socket socket = co_await acceptor_.async_accept(asio::redirect_error(use_awaitable, error));
        if (!error)
            asio::co_spawn(io_, serve_(std::move(socket)), asio::detached);
    }
}

} // namespace broker_sim
