#include "scripted_peer.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>

#include <array>
#include <optional>
#include <utility>

namespace test_support {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
using asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;

/// A connection, and what its steps need. Failures are thrown and end the script.
class PeerConnection {
public:
    PeerConnection(ScriptedPeer &owner, tcp::socket socket, PeerRecord &record)
        : peer(owner), stream(std::move(socket), owner.tls_), record_(record) {}

    void run(const Script &script);
    /// Makes whatever run() is waiting for fail. The caller holds the peer's mutex.
    void interrupt();

    tcp::socket &socket() { return stream.next_layer(); }
    void read_more();
    void write(std::string_view bytes);
    /// Ends the script when the peer ends before the time is over; without a time it does so only
    /// then.
    void pause(std::optional<milliseconds> time);
    void close();

    template <class Change>
    void change_record(Change change) {
        const std::lock_guard lock(peer.mutex_);
        change(record_);
        peer.changed_.notify_all();
    }

    ScriptedPeer &peer;
    ssl::stream<tcp::socket> stream;
    std::string unread; ///< came in and was not yet asked for by a step
    bool encrypted = false;

private:
    void drain();

    PeerRecord &record_;
};

void PeerConnection::run(const Script &script) {
    try {
        socket().set_option(tcp::no_delay(true));
        for (const Step &step : script)
            step(*this);
        for (;;)
            read_more();
    } catch (const boost::system::system_error &) {
        // A step or the other side has ended the connection, or TLS has failed on it.
    }
    drain();
    close();
}

void PeerConnection::interrupt() {
    error_code ignored;
    if (!socket().is_open())
        return;
    socket().shutdown(tcp::socket::shutdown_both, ignored);
    socket().cancel(ignored); // on Windows a read that is under way does not notice the shutdown
}

void PeerConnection::write(std::string_view bytes) {
    if (encrypted)
        asio::write(stream, asio::buffer(bytes));
    else
        asio::write(socket(), asio::buffer(bytes));
}

void PeerConnection::pause(std::optional<milliseconds> time) {
    std::unique_lock lock(peer.mutex_);
    const auto stopping = [this] { return peer.stopping_; };
    if (!time)
        peer.changed_.wait(lock, stopping);
    else if (!peer.changed_.wait_for(lock, *time, stopping))
        return;
    throw boost::system::system_error(asio::error::operation_aborted);
}

void PeerConnection::read_more() {
    std::array<char, 16 * 1024> buffer;
    const std::size_t count = encrypted ? stream.read_some(asio::buffer(buffer))
                                        : socket().read_some(asio::buffer(buffer));
    unread.append(buffer.data(), count);
    change_record([&](PeerRecord &record) { record.received.append(buffer.data(), count); });
}

/// Closing with bytes unread would send a reset, which may overtake what was sent last.
void PeerConnection::drain() {
    std::array<char, 16 * 1024> buffer;
    error_code end;
    while (!end)
        socket().read_some(asio::buffer(buffer), end);
}

void PeerConnection::close() {
    change_record([this](PeerRecord &record) {
        error_code ignored;
        socket().close(ignored);
        record.closed = true;
    });
}

Step handshake() {
    return [](PeerConnection &connection) {
        connection.stream.handshake(ssl::stream_base::server);
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
    return [=](PeerConnection &connection) {
        while (connection.unread.size() < count)
            connection.read_more();
        connection.unread.erase(0, count);
    };
}

Step expect_request() {
    return [](PeerConnection &connection) {
        constexpr std::string_view blank_line = "\r\n\r\n";
        constexpr std::string_view length_name = "Content-Length: ";
        std::string &unread = connection.unread;
        std::size_t head = 0;
        while ((head = unread.find(blank_line)) == std::string::npos)
            connection.read_more();
        const std::size_t length = unread.find(length_name);
        const std::size_t body =
            length < head ? std::stoul(unread.substr(length + length_name.size())) : 0;
        const std::size_t whole = head + blank_line.size() + body;
        while (unread.size() < whole)
            connection.read_more();
        connection.change_record(
            [&](PeerRecord &record) { record.requests.push_back(unread.substr(0, whole)); });
        unread.erase(0, whole);
    };
}

Step send(std::string bytes) {
    return [=](PeerConnection &connection) { connection.write(bytes); };
}

Step send_split(std::string bytes, std::size_t piece) {
    return drip(std::move(bytes), piece, milliseconds(0));
}

Step drip(std::string bytes, std::size_t piece, milliseconds pause) {
    return [=](PeerConnection &connection) {
        for (std::string_view rest = bytes; !rest.empty();) {
            connection.write(rest.substr(0, piece));
            rest.remove_prefix(std::min(piece, rest.size()));
            connection.pause(pause);
        }
    };
}

Step send_plain(std::string bytes) {
    return [=](PeerConnection &to) { asio::write(to.socket(), asio::buffer(bytes)); };
}

Step renegotiate() {
    return [](PeerConnection &connection) {
        SSL_renegotiate(connection.stream.native_handle());
        connection.stream.handshake(ssl::stream_base::server); // sends the request for it
    };
}

Step close_notify() {
    return [](PeerConnection &connection) { connection.stream.shutdown(); };
}

Step fin() {
    return [](PeerConnection &to) { to.socket().shutdown(tcp::socket::shutdown_send); };
}

Step rst() {
    return [](PeerConnection &connection) {
        connection.socket().set_option(asio::socket_base::linger(true, 0));
        connection.close();
    };
}

Step stall() {
    return [](PeerConnection &connection) { connection.pause(std::nullopt); };
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

ssl::context server_context(const PeerTls &settings) {
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
    return context;
}

} // namespace

ScriptedPeer::ScriptedPeer(std::vector<Script> scripts, const PeerTls &tls,
                           const std::string &address)
    : scripts_(std::move(scripts)),
      tls_(server_context(tls)),
      acceptor_(context_, tcp::endpoint(asio::ip::make_address(address), 0)),
      endpoint_(acceptor_.local_endpoint()) {
    acceptor_thread_ = std::thread([this] { accept_all(); });
}

ScriptedPeer::~ScriptedPeer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
        for (const auto &connection : connections_)
            connection->interrupt();
    }
    error_code ignored;
    tcp::socket(context_).connect(endpoint_, ignored); // wakes the acceptor
    acceptor_thread_.join();
    for (std::thread &thread : threads_)
        thread.join();
}

void ScriptedPeer::accept_all() {
    for (;;) {
        error_code error;
        tcp::socket socket = acceptor_.accept(error);
        const std::lock_guard lock(mutex_);
        if (stopping_)
            return;
        if (error)
            continue;
        const Script &script = scripts_[std::min(records_.size(), scripts_.size() - 1)];
        PeerConnection &connection = *connections_.emplace_back(
            std::make_unique<PeerConnection>(*this, std::move(socket), records_.emplace_back()));
        threads_.emplace_back([&connection, &script] { connection.run(script); });
        changed_.notify_all();
    }
}

std::string ScriptedPeer::address() const {
    return endpoint_.address().to_string() + ":" + port();
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
