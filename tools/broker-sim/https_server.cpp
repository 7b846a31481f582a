#include "https_server.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <array>

namespace broker_sim {
namespace asio = boost::asio;
using asio::awaitable;
using asio::use_awaitable;
using asio::ip::tcp;

namespace {

constexpr std::size_t most_head_bytes = 64 * 1024;

/// `buffer` keeps what came after the request.
template <class Stream>
awaitable<HttpRequest> read_request(Stream &stream, std::string &buffer) {
    const std::size_t head_size = co_await asio::async_read_until(
        stream, asio::dynamic_buffer(buffer, most_head_bytes), "\r\n\r\n", use_awaitable);
    HttpRequest request = read_request_head(buffer.substr(0, head_size));
    buffer.erase(0, head_size);

    const std::size_t missing =
        request.content_length - std::min(request.content_length, buffer.size());
    co_await asio::async_read(stream, asio::dynamic_buffer(buffer), asio::transfer_exactly(missing),
                              use_awaitable);
    request.body = buffer.substr(0, request.content_length);
    buffer.erase(0, request.content_length);
    co_return request;
}

/// Each piece that is written is one TLS record, as long as it fits into one.
template <class Stream>
awaitable<void> write_response(Stream &stream, std::string_view bytes, const Fault &fault) {
    const std::size_t size = fault.drip_bytes    ? fault.drip_bytes
                             : fault.record_size ? fault.record_size
                                                 : std::max<std::size_t>(bytes.size(), 1);
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, size);
        co_await asio::async_write(stream, asio::buffer(piece), use_awaitable);
        bytes.remove_prefix(piece.size());
        if (fault.drip_bytes && !bytes.empty())
            co_await pause(fault.drip_every);
    }
}

/// Says nothing more but keeps listening, because closing over unread bytes would be a reset.
awaitable<void> finish(tcp::socket &socket) {
    socket.shutdown(tcp::socket::shutdown_send);
    std::array<char, 4096> discarded;
    for (;;)
        co_await socket.async_read_some(asio::buffer(discarded), use_awaitable);
}

template <class Stream>
awaitable<void> end_connection(Stream &stream, Ending ending) {
    const bool over_tls = SSL_is_init_finished(stream.native_handle());
    if (ending == Ending::stall)
        co_await stall();
    else if (ending == Ending::reset)
        reset(stream.next_layer());
    else if (ending == Ending::close && over_tls)
        co_await stream.async_shutdown(use_awaitable);
    else
        co_await finish(stream.next_layer());
}

} // namespace

HttpsServer::HttpsServer(const std::string &address, std::uint16_t port, asio::ssl::context tls,
                         Service &service)
    : tls_(std::move(tls)), service_(service), connections_(address, port) {}

void HttpsServer::start() {
    connections_.start([this](Socket socket) { return serve(std::move(socket)); },
                       [this] { return service_.refuses_to_accept(); });
}

awaitable<void> HttpsServer::serve(Socket socket) {
    const auto [connection, before_tls] = service_.accept();
    try {
        socket.set_option(tcp::no_delay(true));
        Stream stream(std::move(socket), tls_);
        if (before_tls.delay.count())
            co_await pause(before_tls.delay);
        if (before_tls.ending != Ending::none)
            co_return co_await end_connection(stream, before_tls.ending);
        co_await stream.async_handshake(asio::ssl::stream_base::server, use_awaitable);
        co_await converse(stream, connection);
    } catch (const boost::system::system_error &) {
        // The peer went away, which is its right at any moment.
    }
}

awaitable<void> HttpsServer::converse(Stream &stream, unsigned connection) {
    std::string buffer;
    for (bool keep_alive = true; keep_alive;) {
        const HttpRequest request = co_await read_request(stream, buffer);
        const auto [answer, fault, number] = service_.answer(connection, request);
        if (fault.delay.count())
            co_await pause(fault.delay);

        const std::string bytes = response_bytes(answer, fault);
        const bool ends = fault.ending != Ending::none;
        const std::string_view sent =
            std::string_view(bytes).substr(0, ends ? fault.at_byte : bytes.npos);
        co_await write_response(stream, sent, fault);
        if (ends)
            co_return co_await end_connection(stream, fault.ending);
        service_.sent(number);
        keep_alive = request.keep_alive;
    }
    co_await end_connection(stream, Ending::close);
}

} // namespace broker_sim
