#include "transport/https_xml_client.h"

#include "trust/tls_settings.h"
#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <boost/asio/post.hpp>

namespace kavro {

namespace asio = boost::asio;

HttpsXmlClient::HttpsXmlClient(NameResolver::BlockingLookup lookup)
    : tls_(client_tls_context()),
      timer_([this] { abort_operation(); }),
      resolver_(context_, std::move(lookup)) {
    configure_verified_tls(tls_.get());
}

HttpsXmlClient::~HttpsXmlClient() = default;

void HttpsXmlClient::set_cipher_list(const char *ciphers) {
    if (SSL_CTX_set_cipher_list(tls_.get(), ciphers) != 1)
        throw_openssl_error("set_cipher_list");
}

void HttpsXmlClient::setCertificateExtractor(const CertificateExtractor &extractor) {
    own_trust_ = std::make_unique<TrustStore>(extract_certificates(extractor));
}

void HttpsXmlClient::post(std::function<void()> handler) {
    asio::post(context_, std::move(handler));
}

void HttpsXmlClient::run_io(bool block) {
    context_.restart();
    if (!block)
        return timer_.poll(context_);
    while (timer_.run_one(context_)) {
    }
}

void HttpsXmlClient::resolve_name(const std::string &host, ResolveHandler on_resolved,
                                  std::chrono::milliseconds timeout) {
    constexpr const char *handler_name = "HttpsXmlClient::handle_addr_resolve";
    log_debug("%s: attempting to resolve %s", "HttpsXmlClient::resolve_name",
              printable(host).c_str());
    timer_.set(timeout);
    resolver_.async_resolve(
        host, "0",
        [this, on_resolved = std::move(on_resolved)](const error_code &error,
                                                     const NameResolver::Endpoints &endpoints) {
            timer_.clear();
            std::string address;
            if (error) {
                broker_log(
                    LogCategory::general, LogSeverity::info, error.value(),
                    "%s: error trying to resolve hostname - e.category=%s, e.value=%d (0x%x) "
                    "e.message='%s'",
                    handler_name, error.category().name(), error.value(),
                    static_cast<unsigned>(error.value()), error.message().c_str());
            } else if (!endpoints.empty()) {
                address = endpoints.front().address().to_string();
                log_debug("%s: resolve returned address %s", handler_name, address.c_str());
            }
            on_resolved(address);
        });
}

std::string_view HttpsXmlClient::first_cookie() const {
    const auto known = memories_.find(peer_);
    if (known == memories_.end() || known->second.cookies.empty())
        return {};
    return known->second.cookies.begin()->second;
}

void HttpsXmlClient::disconnect() {
    cancelled_ = true;
    abort_operation();
    timer_.clear();
    wipe(request_); // also of an operation that an exception left half done
    trace_exit("HttpsXmlClient::disconnect");
}

void HttpsXmlClient::cancel() {
    // Only the thread that runs the context touches the socket.
    asio::post(context_, [this] {
        cancelled_ = true;
        abort_operation();
    });
}

void HttpsXmlClient::abort_operation() {
    resolver_.cancel();
    close_socket();
}

void HttpsXmlClient::close_socket() {
    if (stream_) {
        error_code ignored; // a socket that does not close cleanly is closed all the same
        stream_->socket().close(ignored);
    }
}

} // namespace kavro
