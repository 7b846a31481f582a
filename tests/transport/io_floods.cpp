#include "io_client.h"

#include <boost/asio/write.hpp>
#include <openssl/ssl.h>

#include <thread>

// A peer that sends more than can be read: what a client takes of it is counted in bytes.

namespace kavro {

namespace {

using boost::asio::ip::tcp;

constexpr std::size_t mebibyte = 1 << 20;

/// Serves the first who connects.
class OnePeer {
public:
    explicit OnePeer(std::function<void(tcp::socket &)> serve)
        : thread_([this, serve = std::move(serve)] { serve(accepted_ = acceptor_.accept()); }) {}
    ~OnePeer() { thread_.join(); }

    std::string address() const {
        return "127.0.0.1:" + std::to_string(acceptor_.local_endpoint().port());
    }

private:
    boost::asio::io_context context_;
    tcp::acceptor acceptor_{context_, {boost::asio::ip::make_address("127.0.0.1"), 0}};
    tcp::socket accepted_{context_};
    std::thread thread_;
};

/// Until the other side has enough of it.
void send_to(tcp::socket &socket, std::string_view bytes) {
    boost::system::error_code closed;
    boost::asio::write(socket, boost::asio::buffer(bytes), closed);
}

/// So many bytes of session tickets (RFC 8446 section 4.6.1), as they come behind a handshake.
std::string tickets(SSL *server, std::size_t bytes) {
    BIO *const out = BIO_new(BIO_s_mem());
    SSL_set0_wbio(server, out);
    while (BIO_pending(out) < static_cast<int>(bytes)) {
        if (SSL_new_session_ticket(server) != 1 || SSL_do_handshake(server) != 1)
            throw std::runtime_error("no ticket");
    }
    const char *text = nullptr;
    const long size = BIO_get_mem_data(out, &text);
    return {text, static_cast<std::size_t>(size)};
}

class FloodTest : public TransportTest {
protected:
    HttpsXmlClient client_;
    std::shared_ptr<ConnectionReport> report_ = std::make_shared<ConnectionReport>();
};

} // namespace

// RFC 5246 section 7.4.1.1: a client may ignore a HelloRequest, and OpenSSL does for as long as
// there are any.
TEST_F(FloodTest, AHandshakeTakesNoMoreThanItsLimit) {
    const OnePeer peer([](tcp::socket &socket) {
        std::string requests;
        while (requests.size() < 16 * mebibyte)
            requests.append("\x16\x03\x03\x00\x04\x00\x00\x00\x00", 9);
        send_to(socket, requests);
    });
    client_.report_to(report_);
    const auto outcome = connect(client_, peer.address(), true, 0ms);
    EXPECT_EQ(outcome.result.result, ConnectCode::tls_handshake_failed);
    EXPECT_EQ(outcome.result.error_text, "excessive message size (SSL routines)");
    EXPECT_LT(report_->traffic.received, 2 * mebibyte);
}

TEST_F(FloodTest, ACancelIsHeardThoughTheSocketIsNeverEmpty) {
    const OnePeer peer([this](tcp::socket &socket) {
        boost::asio::ssl::context tls(boost::asio::ssl::context::tls_server);
        const ServerIdentity identity = trusted_server({"127.0.0.1"});
        tls.use_certificate(boost::asio::buffer(identity.certificate),
                            boost::asio::ssl::context::pem);
        tls.use_private_key(boost::asio::buffer(identity.key), boost::asio::ssl::context::pem);
        const std::unique_ptr<SSL, decltype(&SSL_free)> server(SSL_new(tls.native_handle()),
                                                               SSL_free);
        SSL_set_fd(server.get(), static_cast<int>(socket.native_handle()));
        char request[4096];
        if (SSL_accept(server.get()) != 1 || SSL_read(server.get(), request, sizeof request) <= 0)
            return;
        const std::string flood = tickets(server.get(), 8 * mebibyte);
        send_to(socket, std::string_view(flood).substr(0, mebibyte));
        client_.cancel();
        send_to(socket, std::string_view(flood).substr(mebibyte));
    });
    client_.report_to(report_);
    ASSERT_EQ(connect(client_, peer.address(), true).result.result, ConnectCode::connected);
    EXPECT_EQ(post(client_, small_xml, 0ms).result.result, POST_RESULT_CANCELLED);
    EXPECT_LT(report_->traffic.received, 2 * mebibyte);
}

} // namespace kavro
