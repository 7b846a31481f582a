#include "scripted_peer.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>

#include <array>
#include <utility>

namespace test_support {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
using asio::awaitable;
using asio::use_awaitable;
using asio::ip::tcp;
using broker_sim::Socket;
using std::chrono::milliseconds;

/// A connection, and what its steps need. Failures are thrown and end the script.
class PeerConnection {
public:
    PeerConnection(ScriptedPeer &owner, Socket socket, PeerRecord &record)
        : peer(owner), stream(std::move(socket), owner.tls_), record_(record) {}

    Socket &socket() { return stream.next_layer(); }
    awaitable<void> read_more();
    awaitable<void> write(std::string_view bytes);

    template <class Change>
    void change_record(Change change) {
        const std::lock_guard lock(peer.mutex_);
        change(record_);
        peer.changed_.notify_all();
    }

    ScriptedPeer &peer;
    ssl::stream<Socket> stream;
    std::string unread; ///< came in and was not yet asked for by a step
    bool encrypted = false;

private:
    /// Reads or writes, through TLS once that is there.
    auto through(auto use) { return encrypted ? use(stream) : use(socket()); }

    PeerRecord &record_;
};

awaitable<void> PeerConnection::write(std::string_view bytes) {
    co_await through(
        [bytes](auto &to) { return asio::async_write(to, asio::buffer(bytes), use_awaitable); });
}

awaitable<void> PeerConnection::read_more() {
    std::array<char, 16 * 1024> buffer;
    const std::size_t count = co_await through([&buffer](auto &from) {
        return from.async_read_some(asio::buffer(buffer), use_awaitable);
    });
    unread.append(buffer.data(), count);
    change_record([&](PeerRecord &record) { record.received.append(buffer.data(), count); });
}

Step handshake() {
    return [](PeerConnection &connection) -> awaitable<void> {
        co_await connection.stream.async_handshake(ssl::stream_base::server, use_awaitable);
        connection.encrypted = true;
        SSL *const tls = connection.stream.native_handle();
        const char *name = SSL_get_servername(tls, TLSEXT_NAMETYPE_host_name);
        connection.change_record([&](PeerRecord &record) {
            record.handshaken = true;
            record.resumed = SSL_session_reused(tls) == 1;
            record.server_name = name != nullptr ? name : "";
            if (const X509 *shown = SSL_get0_peer_certificate(tls))
                record.client_certificate = der_of(shown);
        });
    };
}

Step expect_bytes(std::size_t count) {
    return [=](PeerConnection &connection) -> awaitable<void> {
        while (connection.unread.size() < count)
            co_await connection.read_more();
        connection.unread.erase(0, count);
    };
}

Step expect_request() {
    return [](PeerConnection &connection) -> awaitable<void> {
        constexpr std::string_view blank_line = "\r\n\r\n";
        constexpr std::string_view length_name = "Content-Length: ";
        std::string &unread = connection.unread;
        std::size_t head = 0;
        while ((head = unread.find(blank_line)) == std::string::npos)
            co_await connection.read_more();
        const std::size_t length = unread.find(length_name);
        const std::size_t body =
            length < head ? std::stoul(unread.substr(length + length_name.size())) : 0;
        const std::size_t whole = head + blank_line.size() + body;
        while (unread.size() < whole)
            co_await connection.read_more();
        connection.change_record(
            [&](PeerRecord &record) { record.requests.push_back(unread.substr(0, whole)); });
        unread.erase(0, whole);
    };
}

Step send(std::string bytes) {
    return [=](PeerConnection &to) -> awaitable<void> { co_await to.write(bytes); };
}

Step drip(std::string bytes, std::size_t piece, milliseconds pause) {
    return [=](PeerConnection &to) -> awaitable<void> {
        for (std::string_view rest = bytes; !rest.empty();) {
            co_await to.write(rest.substr(0, piece));
            rest.remove_prefix(std::min(piece, rest.size()));
            co_await broker_sim::pause(pause);
        }
    };
}

Step send_plain(std::string bytes) {
    return [=](PeerConnection &to) -> awaitable<void> {
        co_await asio::async_write(to.socket(), asio::buffer(bytes), use_awaitable);
    };
}

Step renegotiate() {
    return [](PeerConnection &connection) -> awaitable<void> {
        SSL_renegotiate(connection.stream.native_handle());
        // Sends the request for it.
        co_await connection.stream.async_handshake(ssl::stream_base::server, use_awaitable);
    };
}

Step send_tickets(int count) {
    return [=](PeerConnection &connection) -> awaitable<void> {
        for (int i = 0; i < count; ++i) {
            SSL_new_session_ticket(connection.stream.native_handle());
            co_await connection.stream.async_handshake(ssl::stream_base::server, use_awaitable);
        }
    };
}

Step close_notify() {
    return [](PeerConnection &to) -> awaitable<void> {
        co_await to.stream.async_shutdown(use_awaitable);
    };
}

Step fin() {
    return [](PeerConnection &to) -> awaitable<void> {
        to.socket().shutdown(tcp::socket::shutdown_send);
        co_return;
    };
}

Step rst() {
    return [](PeerConnection &connection) -> awaitable<void> {
        broker_sim::reset(connection.socket());
        co_return;
    };
}

Step stall() {
    return [](PeerConnection &) { return broker_sim::stall(); };
}

std::string http_ok(std::string_view body, std::string_view header_lines) {
    std::string answer = "HTTP/1.1 200 OK\r\n";
    answer += header_lines;
    answer += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    return answer += body;
}

std::string broker_message(std::string_view content) {
    return R"(<kavro-client version="2.1">)" + std::string(content) + "</kavro-client>";
}

std::string broker_answer(const std::string &request, std::string_view result_id,
                          std::string_view content) {
    std::string message = "<" + request + "-resp><result><result-id>";
    message += result_id;
    message += "</result-id><result-str>in words</result-str></result>";
    message += content;
    return broker_message(message + "</" + request + "-resp>");
}

std::string hello_answer(std::string_view next_authentication) {
    std::string hello =
        "<hello-resp><brokers-info><broker-info><product-name>Test broker</product-name>"
        "<product-version>1</product-version><platform>Linux</platform><locale>en_US</locale>"
        "<ip-address>127.0.0.1</ip-address><hostname>localhost</hostname></broker-info>"
        "</brokers-info>";
    hello += next_authentication.empty()
                 ? "<next-authentication><method>AUTHENTICATION_NOT_REQUIRED</method>"
                   "</next-authentication>"
                 : next_authentication;
    return broker_message(hello + "</hello-resp>");
}

Script after_request(Script steps) {
    steps.insert(steps.begin(), {handshake(), expect_request()});
    return steps;
}

Script answering(std::string_view body, std::string_view header_lines) {
    return after_request({send(http_ok(body, header_lines))});
}

Script ending_with(std::string bytes) {
    return after_request({send(std::move(bytes)), close_notify()});
}

Script welcome(std::string_view header_lines) {
    return answering(hello_answer(), header_lines);
}

namespace {

int show_staple(SSL *tls, void *staple) {
    const auto &bytes = *static_cast<const std::string *>(staple);
    if (bytes.empty())
        return SSL_TLSEXT_ERR_NOACK;
    SSL_set_tlsext_status_ocsp_resp(tls, OPENSSL_memdup(bytes.data(), bytes.size()),
                                    static_cast<long>(bytes.size()));
    return SSL_TLSEXT_ERR_OK;
}

ssl::context server_context(const PeerTls &settings, const std::string &staple) {
    ssl::context context(ssl::context::tls_server);
    SSL_CTX *const native = context.native_handle();
    SSL_CTX_set_min_proto_version(native, settings.min_version);
    SSL_CTX_set_max_proto_version(native, settings.max_version);
    SSL_CTX_set_security_level(native, 0); // the oldest versions are there at no other
    context.use_certificate_chain(asio::buffer(settings.identity.certificate));
    context.use_private_key(asio::buffer(settings.identity.key), ssl::context::pem);
    if (settings.demand_client_certificate)
        context.set_verify_mode(ssl::verify_peer | ssl::verify_fail_if_no_peer_cert);
    if (!settings.client_authority.empty())
        context.add_certificate_authority(asio::buffer(settings.client_authority));
    if (!settings.client_signatures.empty())
        SSL_CTX_set1_client_sigalgs_list(native, settings.client_signatures.c_str());
    SSL_CTX_set_tlsext_status_cb(native, show_staple);
    SSL_CTX_set_tlsext_status_arg(native, const_cast<std::string *>(&staple));
    return context;
}

} // namespace

ScriptedPeer::ScriptedPeer(std::vector<Script> scripts, const PeerTls &tls,
                           const std::string &address)
    : scripts_(std::move(scripts)),
      staple_(tls.staple),
      tls_(server_context(tls, staple_)),
      connections_(address, 0) {
    connections_.start([this](Socket socket) { return serve(std::move(socket)); });
}

awaitable<void> ScriptedPeer::serve(Socket socket) {
    std::unique_lock lock(mutex_);
    const Script &script = scripts_[std::min(records_.size(), scripts_.size() - 1)];
    PeerConnection connection(*this, std::move(socket), records_.emplace_back());
    changed_.notify_all();
    lock.unlock();
    connection.socket().set_option(tcp::no_delay(true));
    boost::system::error_code end;
    try {
        for (const Step &step : script)
            co_await step(connection);
        for (;;)
            co_await connection.read_more();
    } catch (const boost::system::system_error &failure) {
        // A step or the other side has ended the connection, or TLS has failed on it.
        if (failure.code().category() != asio::error::get_ssl_category())
            end = failure.code();
    }
    // Closing with bytes unread would send a reset, which may overtake what was sent last. But a
    // socket that has told of its end does not tell of it again.
    std::array<char, 16 * 1024> discarded;
    while (!end)
        co_await connection.socket().async_read_some(asio::buffer(discarded),
                                                     asio::redirect_error(use_awaitable, end));
    connection.change_record([](PeerRecord &record) { record.closed = true; });
}

std::string ScriptedPeer::address() const {
    return endpoint().address().to_string() + ":" + port();
}

std::size_t ScriptedPeer::connection_count() const {
    const std::lock_guard lock(mutex_);
    return records_.size();
}

PeerRecord ScriptedPeer::record(std::size_t connection) const {
    const std::lock_guard lock(mutex_);
    return connection < records_.size() ? records_[connection] : PeerRecord{};
}

bool ScriptedPeer::wait_for(std::size_t connection,
                            const std::function<bool(const PeerRecord &)> &wanted) const {
    constexpr std::chrono::seconds unreasonable{5};
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, unreasonable, [&] {
        return connection < records_.size() && wanted(records_[connection]);
    });
}

} // namespace test_support
