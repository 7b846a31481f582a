#pragma once

#include "transport/route.h"
#include "utils/src/openssl_types.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

namespace kavro {

class HttpResponseParser;
class TlsConnection;
class Waiter;

/// One request to a TLS server beside the broker, and its answer.
///
/// Each step returns when it is over: with an empty text, or with what went wrong. All steps
/// together have one deadline, which starts with the object.
class TlsExchange {
public:
    TlsExchange(Waiter &waiter, std::chrono::milliseconds timeout);
    ~TlsExchange();
    TlsExchange(const TlsExchange &) = delete;
    TlsExchange &operator=(const TlsExchange &) = delete;

    /// @param tls is set up by now.
    [[nodiscard]] std::string connect(ssl_ctx_st *tls, const Peer &peer, Route route,
                                      VerifyCallback verify = {});
    [[nodiscard]] std::string handshake();
    [[nodiscard]] std::string write(std::string_view bytes);
    /// Until the answer is complete.
    [[nodiscard]] std::string read(HttpResponseParser &answer);

    /// The certificate that the server has shown; none before the handshake.
    X509Handle server_certificate() const;

private:
    Waiter &waiter_;
    std::unique_ptr<TlsConnection> connection_;
};

} // namespace kavro
