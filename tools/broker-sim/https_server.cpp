#include "https_server.h"

#include "socks.h"
#include "tunnel.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl/stream.hpp>
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

using TlsStream = asio::ssl::stream<Socket>;

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

template <class Stream>
class HttpClient {
public:
    explicit HttpClient(Stream &stream) : stream_(stream) {}

    awaitable<HttpRequest> read() { return read_request(stream_, buffer_); }
    std::string bytes(const HttpAnswer &answer, const Fault &fault) const {
        return response_bytes(answer, fault);
    }

private:
    Stream &stream_;
    std::string buffer_;
};

/// Nothing when the client is gone.
template <class Client>
awaitable<std::optional<HttpRequest>> read_if_there(Client &client) {
    try {
        co_return co_await client.read();
    } catch (const boost::system::system_error &) {
        co_return std::nullopt;
    }
}

/// Nothing when the client takes longer; 0 ms are for ever.
template <class Client>
awaitable<std::optional<HttpRequest>> next_request(Client &client, std::chrono::milliseconds idle) {
    using namespace asio::experimental::awaitable_operators;
    if (!idle.count())
        co_return co_await client.read();
    const auto first = co_await (read_if_there(client) || pause(idle));
    if (first.index() == 0 && !std::get<0>(first))
        throw boost::system::system_error(asio::error::eof);
    co_return first.index() == 0 ? std::get<0>(first) : std::nullopt;
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
awaitable<void> finish(Socket &socket) {
    socket.shutdown(tcp::socket::shutdown_send);
    std::array<char, 4096> discarded;
    for (;;)
        co_await socket.async_read_some(asio::buffer(discarded), use_awaitable);
}

awaitable<void> end_connection(Socket &socket, Ending ending) {
    if (ending == Ending::stall)
        co_await stall();
    else if (ending == Ending::reset)
        reset(socket);
    else
        co_await finish(socket);
}

awaitable<void> end_connection(TlsStream &stream, Ending ending) {
    if (ending == Ending::close)
        co_await stream.async_shutdown(use_awaitable);
    else
        co_await end_connection(stream.next_layer(), ending);
}

/// What a client begins with, which is left unread: "\x16" TLS, "\x05" SOCKS 5.
awaitable<char> first_byte(Socket &socket) {
    char first = 0;
    co_await socket.async_receive(asio::buffer(&first, 1), Socket::message_peek, use_awaitable);
    co_return first;
}

} // namespace

HttpsServer::HttpsServer(const std::string &address, const Listener &listener,
                         asio::ssl::context tls, const Proxy *proxy, Service &service)
    : tls_(std::move(tls)),
      patience_(listener.patience),
      proxy_(proxy),
      service_(service),
      connections_(address, listener.port) {}

void HttpsServer::start() {
    connections_.start([this](Socket socket) { return serve(std::move(socket)); },
                       [this] { return service_.door(); });
}

awaitable<void> HttpsServer::serve(Socket socket) {
    const auto [connection, before_tls] = service_.accept();
    try {
        socket.set_option(tcp::no_delay(true));
        if (before_tls.delay.count())
            co_await pause(before_tls.delay);
        if (before_tls.ending != Ending::none)
            co_await end_connection(socket, before_tls.ending);
        else
            co_await speak(std::move(socket), connection);
    } catch (const boost::system::system_error &) {
        // The peer went away, which is its right at any moment.
    }
    service_.ended(connection);
}

/// Clients have names here, because g++ 12 destroys twice what it passes to a coroutine unnamed.
awaitable<void> HttpsServer::speak(Socket socket, unsigned connection) {
    const char first = proxy_ ? co_await first_byte(socket) : '\x16';
    if (first == '\x05') {
        SocksClient client(socket, *proxy_);
        co_return co_await converse(socket, client, connection);
    }
    if (first != '\x16') {
        HttpClient<Socket> client(socket);
        co_return co_await converse(socket, client, connection);
    }
    TlsStream stream(std::move(socket), tls_);
    co_await stream.async_handshake(asio::ssl::stream_base::server, use_awaitable);
    HttpClient<TlsStream> client(stream);
    co_await converse(stream, client, connection);
}

template <class Stream, class Client>
awaitable<void> HttpsServer::converse(Stream &stream, Client &client, unsigned connection) {
    bool keep_alive = true;
    for (unsigned count = 1; keep_alive; ++count) {
        const auto request =
            co_await next_request(client, count > 1 ? patience_.idle : patience_.idle.zero());
        if (!request)
            break;
        auto [answer, fault, number, target] = service_.answer(connection, *request);
        if (count == patience_.most_requests)
            answer.headers.emplace_back("Connection", "close");
        if (fault.delay.count())
            co_await pause(fault.delay);

        const std::string bytes = client.bytes(answer, fault);
        const bool ends = fault.ending != Ending::none;
        const std::string_view sent =
            std::string_view(bytes).substr(0, ends ? fault.at_byte : bytes.npos);
        co_await write_response(stream, sent, fault);
        if (ends)
            co_return co_await end_connection(stream, fault.ending);
        service_.sent(number);
        if (target)
            co_return co_await tunnel(stream, *target);
        keep_alive = request->keep_alive && !answer.says_close();
    }
    co_await end_connection(stream, Ending::close);
}

} // namespace broker_sim
