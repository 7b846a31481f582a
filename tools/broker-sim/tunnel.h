#pragma once
#include "connection_server.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <array>

namespace broker_sim {

/// Passes on what one side sends, up to its end.
template <class From, class To>
boost::asio::awaitable<void> pass_on(From &from, To &to) {
    using boost::asio::use_awaitable;
    std::array<char, 16 * 1024> bytes;
    try {
        for (;;) {
            const std::size_t size =
                co_await from.async_read_some(boost::asio::buffer(bytes), use_awaitable);
            co_await async_write(to, boost::asio::buffer(bytes, size), use_awaitable);
        }
    } catch (const boost::system::system_error &) {
        boost::system::error_code gone;
        to.lowest_layer().shutdown(Socket::shutdown_send, gone);
    }
}

/// Connects the client with a server until both have said their last.
template <class Stream>
boost::asio::awaitable<void> tunnel(Stream &client, boost::asio::ip::tcp::endpoint target) {
    using namespace boost::asio::experimental::awaitable_operators;
    Socket server(co_await boost::asio::this_coro::executor);
    co_await server.async_connect(target, boost::asio::use_awaitable);
    server.set_option(boost::asio::ip::tcp::no_delay(true));
    co_await (pass_on(client, server) && pass_on(server, client));
}

} // namespace broker_sim
