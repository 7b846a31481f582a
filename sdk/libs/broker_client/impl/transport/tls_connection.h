#pragma once

#include "transport/connection_report.h"
#include "transport/http_framing.h"
#include "transport/name_resolution.h"
#include "transport/peer.h"
#include "transport/tls_stream.h"
#include "transport/wire.h"

#include <memory>
#include <optional>
#include <string_view>

namespace kavro {

/// One TLS connection as a client, from the look-up of the name to the last byte of an answer.
///
/// Each step returns when it is over, without an error or with what went wrong; operation_aborted
/// when the waiter's deadline or a cancel ended it. A handshake of more than 1 MiB fails.
class TlsConnection {
public:
    using error_code = boost::system::error_code;

    /// @param tls is copied from now. @param report is told how far the connection comes.
    /// @throws std::invalid_argument for a name that is too long for TLS or a literal address whose
    ///         port is none; boost::system::system_error when TLS cannot be set up.
    TlsConnection(SSL_CTX *tls, Peer peer, Waiter &waiter,
                  std::shared_ptr<ConnectionReport> report);
    TlsConnection(const TlsConnection &) = delete;
    TlsConnection &operator=(const TlsConnection &) = delete;

    /// Looks the peer up, unless it is a literal address, and connects to the first of its
    /// addresses that answers.
    /// @param known the address to go to without a look-up, if any; afterwards the one that
    /// answered.
    [[nodiscard]] error_code reach(const NameResolver &resolver,
                                   std::optional<TcpSocket::Endpoint> &known);
    /// Without a callback nobody is asked who the server is.
    void set_verify_callback(VerifyCallback verify) { tls_.set_verify_callback(std::move(verify)); }
    [[nodiscard]] error_code shake_hands();
    [[nodiscard]] error_code write(std::string_view bytes);
    /// Until the answer is complete or the parser refuses it. An end of the stream is an error like
    /// others.
    [[nodiscard]] error_code read(HttpResponseParser &answer, HttpResponseParser::State &state);

    /// What follows is another request's.
    void begin_anew(std::shared_ptr<ConnectionReport> report);
    /// Looks without waiting: `would_block` while the peer rests, no error when it has sent what
    /// nobody asked for. Tickets and alerts of TLS are read.
    [[nodiscard]] error_code look();

    SSL *native_handle() { return tls_.native_handle(); }
    Traffic traffic() const;
    ConnectionReport &report() { return *report_; }
    const TcpSocket &socket() const { return wire_.socket(); }
    /// Whether the peer has asked for a client certificate and was shown none.
    bool missed_certificate() const { return tls_.missed_certificate(); }

private:
    NameResolver::Endpoints find(const NameResolver &resolver, error_code &error);

    const Peer peer_;
    Waiter &waiter_;
    std::shared_ptr<ConnectionReport> report_;
    Wire wire_;
    TlsStream tls_;
};

/// Whether the peer has ended the stream, said so or not.
bool is_end_of_stream(const boost::system::error_code &error);

} // namespace kavro
