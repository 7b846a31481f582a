// A peer: Boost.Beast for the exchange, pugixml for the answer. The TLS context is kept.
#include "contender.h"
#include "messages.h"
#include "pugixml_list.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

using namespace bench;

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

class Beast final : public Contender {
public:
    explicit Beast(const Setup &setup)
        : broker_(asio::ip::make_address("127.0.0.1"),
                  static_cast<std::uint16_t>(std::stoi(setup.port))) {
        tls_.load_verify_file(setup.trust_file);
        tls_.set_verify_mode(asio::ssl::verify_peer);
        tls_.set_verify_callback(asio::ssl::host_name_verification("127.0.0.1"));
        SSL_CTX_set_session_cache_mode(tls_.native_handle(), SSL_SESS_CACHE_OFF);
    }

    void hello_and_operation() override {
        exchange(hello_request());
        exchange(operation_request());
    }

    void list() override {
        std::string body = exchange(list_request());
        desktops_ = read_with_pugixml(body.data(), body.size());
    }

    std::vector<Desktop> desktops() override { return desktops_; }

private:
    std::string exchange(std::string message) {
        asio::ssl::stream<tcp::socket> stream(context_, tls_);
        stream.lowest_layer().connect(broker_);
        stream.lowest_layer().set_option(tcp::no_delay(true));
        stream.handshake(asio::ssl::stream_base::client);
        http::request<http::string_body> request(http::verb::post, broker_path, 11);
        request.set(http::field::host, "127.0.0.1");
        request.set(http::field::content_type, "text/xml; charset=UTF-8");
        request.body() = std::move(message);
        request.prepare_payload();
        http::write(stream, request);
        boost::beast::flat_buffer buffer;
        http::response_parser<http::string_body> response;
        response.body_limit(64 * 1024 * 1024);
        http::read(stream, buffer, response);
        return std::move(response.get().body());
    }

    asio::io_context context_;
    asio::ssl::context tls_{asio::ssl::context::tls_client};
    tcp::endpoint broker_;
    std::vector<Desktop> desktops_;
};

} // namespace

int main(int argc, char **argv) {
    return run_contender(argc, argv,
                         [](const Setup &setup) { return std::make_unique<Beast>(setup); });
}
