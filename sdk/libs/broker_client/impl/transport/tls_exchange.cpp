#include "transport/tls_exchange.h"

#include "utils/src/broker_utils.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/write.hpp>

#include <optional>

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;

namespace {

bool is_end_of_stream(const boost::system::error_code &error) {
    return error == asio::error::eof || error == ssl::error::stream_truncated;
}

std::string text_of(const boost::system::error_code &error) {
    return error ? error.message() : std::string();
}

} // namespace

TlsExchange::TlsExchange(ssl::context &tls, std::chrono::milliseconds timeout,
                         std::function<void()> on_timeout, NameResolver::BlockingLookup lookup)
    : timer_([this, on_timeout = std::move(on_timeout)] {
          if (on_timeout)
              on_timeout();
          abort();
      }),
      resolver_(context_, std::move(lookup)),
      stream_(context_, tls) {
    timer_.set(timeout);
}

/// Starts an operation and lets the context run until it is over.
template <class Start>
TlsExchange::error_code TlsExchange::run(Start start) {
    if (timed_out() || cancelled_)
        return asio::error::operation_aborted;
    std::optional<error_code> outcome;
    context_.restart();
    start([&outcome](const error_code &error) { outcome = error; });
    while (!outcome)
        timer_.run_one(context_);
    return timed_out() || cancelled_ ? asio::error::operation_aborted : *outcome;
}

std::string TlsExchange::connect(const std::string &host, const std::string &port) {
    if (!is_usable_host(host))
        return "The host name cannot be used";
    error_code not_literal;
    asio::ip::make_address(host, not_literal);
    if (not_literal && SSL_set_tlsext_host_name(stream_.native_handle(), host.c_str()) != 1) {
        drain_openssl_errors();
        return "The host name is too long for TLS";
    }
    NameResolver::Endpoints endpoints;
    error_code error = run([&](auto done) {
        resolver_.async_resolve(host, port,
                                [&endpoints, done](const error_code &failure, const auto &found) {
                                    endpoints = found;
                                    done(failure);
                                });
    });
    if (!error)
        error = run([&](auto done) {
            asio::async_connect(stream_.lowest_layer(), endpoints,
                                [done](const error_code &failure, const auto &) { done(failure); });
        });
    return text_of(error);
}

std::string TlsExchange::handshake() {
    drain_openssl_errors();
    return text_of(
        run([this](auto done) { stream_.async_handshake(ssl::stream_base::client, done); }));
}

std::string TlsExchange::write(std::string_view bytes) {
    return text_of(run([&](auto done) {
        asio::async_write(stream_, asio::buffer(bytes),
                          [done](const error_code &failure, std::size_t) { done(failure); });
    }));
}

std::string TlsExchange::read(HttpResponseParser &answer) {
    auto state = HttpResponseParser::State::need_more;
    while (state == HttpResponseParser::State::need_more) {
        const auto space = answer.space();
        std::size_t bytes = 0;
        const error_code error = run([&](auto done) {
            stream_.async_read_some(asio::buffer(space.data, space.size),
                                    [&bytes, done](const error_code &failure, std::size_t count) {
                                        bytes = count;
                                        done(failure);
                                    });
        });
        if (is_end_of_stream(error))
            state = answer.end_of_stream();
        else if (error)
            return text_of(error);
        else
            state = answer.received(bytes);
    }
    switch (state) {
    case HttpResponseParser::State::not_ok:
        return "The server answered with another status than 200";
    case HttpResponseParser::State::mangled:
        return "The answer is cut short, over a limit or no HTTP";
    default:
        return {};
    }
}

X509Handle TlsExchange::server_certificate() {
    return X509Handle(SSL_get_peer_certificate(stream_.native_handle()));
}

void TlsExchange::cancel() {
    cancelled_ = true;
    asio::post(context_, [this] { abort(); });
}

void TlsExchange::abort() {
    resolver_.cancel();
    error_code ignored; // a socket that does not close cleanly is closed all the same
    stream_.lowest_layer().close(ignored);
}

} // namespace kavro
