#pragma once
#include "broker_sim.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <chrono>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

/// What came over the wire, and how that ended: timed_out when it did not within the limit.
struct Received {
    std::vector<std::string> pieces; ///< each is a TLS record
    std::string text;                ///< all of them
    boost::system::error_code end = boost::asio::error::timed_out;
};

/// What a server sends to these bytes on a connection of their own. A handshake that fails ends it.
inline Received converse(const broker_sim::Simulator &simulator, std::string_view bytes,
                         std::chrono::milliseconds limit = std::chrono::seconds(20),
                         std::string_view server = broker_sim::server_name::broker) {
    namespace asio = boost::asio;
    Received received;
    asio::io_context io;
    asio::ssl::context tls(asio::ssl::context::tls_client);
    asio::ssl::stream<asio::ip::tcp::socket> stream(io, tls);
    const asio::ip::tcp::endpoint peer(asio::ip::make_address(simulator.address()),
                                       simulator.port(server));
    const auto talk = [&]() -> asio::awaitable<void> {
        co_await stream.next_layer().async_connect(peer, asio::use_awaitable);
        co_await stream.async_handshake(stream.client, asio::use_awaitable);
        co_await async_write(stream, asio::buffer(bytes), asio::use_awaitable);
        for (std::array<char, 20'000> piece;;) {
            const std::size_t size =
                co_await stream.async_read_some(asio::buffer(piece), asio::use_awaitable);
            received.text += received.pieces.emplace_back(piece.data(), size);
        }
    };
    co_spawn(io, talk, [&received](const std::exception_ptr &failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const boost::system::system_error &error) {
            received.end = error.code();
        }
    });
    io.run_for(limit);
    return received;
}

/// What comes back to these bytes of plain TCP, which are all that is said.
inline std::string say(const std::string &address, std::uint16_t port, std::string_view bytes) {
    boost::asio::ip::tcp::iostream stream;
    stream.expires_after(std::chrono::seconds(20));
    stream.connect(address, std::to_string(port));
    stream << bytes << std::flush;
    stream.socket().shutdown(boost::asio::socket_base::shutdown_send);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// An HTTP request to the broker around a message element; the end of the connection follows its
/// answer.
inline std::string http_request(std::string_view message, const std::string &cookie = {}) {
    const std::string body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                             "<kavro-client version=\"2.1\">\r\n" +
                             std::string(message) + "</kavro-client>\r\n";
    return "POST /kavro-broker/xml HTTP/1.1\r\nHost: broker\r\nConnection: close\r\n" +
           (cookie.empty() ? "" : "Cookie: " + cookie + "\r\n") +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
