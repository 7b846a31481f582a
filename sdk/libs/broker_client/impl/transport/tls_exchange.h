#pragma once

#include "transport/deadline_timer.h"
#include "transport/http_framing.h"
#include "transport/name_resolution.h"
#include "utils/src/openssl_handles.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <string_view>

namespace kavro {

/// One request to a TLS server beside the broker, and its answer, on the calling thread.
///
/// Each step returns when it is over: with an empty text, or with what went wrong. All steps
/// together have one deadline, which starts with the object.
class TlsExchange {
public:
    using Stream = boost::asio::ssl::stream<boost::asio::ip::tcp::socket>;

    /// @param tls as it is set up by now. @param on_timeout called when the deadline has passed.
    TlsExchange(boost::asio::ssl::context &tls, std::chrono::milliseconds timeout,
                std::function<void()> on_timeout = {},
                NameResolver::BlockingLookup lookup = NameResolver::system_lookup);
    TlsExchange(const TlsExchange &) = delete;
    TlsExchange &operator=(const TlsExchange &) = delete;

    [[nodiscard]] std::string connect(const std::string &host, const std::string &port);
    [[nodiscard]] std::string handshake();
    [[nodiscard]] std::string write(std::string_view bytes);
    /// Until the answer is complete.
    [[nodiscard]] std::string read(HttpResponseParser &answer);

    /// The certificate that the server has shown; none before the handshake.
    X509Handle server_certificate();
    Stream &stream() { return stream_; }

    bool timed_out() const { return timer_.expired(); }
    bool cancelled() const { return cancelled_; }
    /// Ends the step under way and all further ones. From any thread.
    void cancel();

private:
    using error_code = boost::system::error_code;

    template <class Start>
    error_code run(Start start);
    void abort();

    boost::asio::io_context context_;
    DeadlineTimer timer_;
    NameResolver resolver_;
    Stream stream_;
    std::atomic<bool> cancelled_ = false;
};

} // namespace kavro
