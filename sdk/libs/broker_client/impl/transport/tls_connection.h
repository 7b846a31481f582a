#pragma once

#include "transport/connection_report.h"
#include "transport/http_framing.h"
#include "transport/name_resolution.h"
#include "transport/peer.h"
#include "transport/proxy/proxy_dialogue.h"
#include "transport/route.h"
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

    /// Where a peer is to be found without a look-up, if that is known; afterwards the address that
    /// answered.
    using KnownEndpoints = std::function<std::optional<TcpSocket::Endpoint> &(const Peer &)>;

    /// Directly, unless told.
    void go_by(Route route) { route_ = std::move(route); }
    /// Looks the peer up, unless it is a literal address, and connects to the first of its
    /// addresses that answers; or has the route's proxy do so. An error of proxy_category() is
    /// put into words by the report.
    [[nodiscard]] error_code reach(const NameResolver &resolver, const KnownEndpoints &known);
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

    /// An error of a step.
    std::string words_of(const error_code &error) const;

private:
    NameResolver::Endpoints find(const Peer &peer, const NameResolver &resolver, error_code &error);
    error_code connect_to(const Peer &peer, const NameResolver &resolver,
                          std::optional<TcpSocket::Endpoint> &known);
    error_code shake_hands(TlsStream &stream);
    error_code write_to(ByteStream &stream, std::string_view bytes);
    error_code read_from(ByteStream &stream, char *data, std::size_t room, std::size_t &bytes);

    // tunnel.cpp
    error_code choose_proxy();
    error_code reach_through(const Proxy &proxy, const NameResolver &resolver,
                             const KnownEndpoints &known);
    error_code open_tunnel(const Proxy &proxy, const NameResolver &resolver,
                           const KnownEndpoints &known);
    std::unique_ptr<ProxyDialogue> dialogue_with(const Proxy &proxy, const NameResolver &resolver,
                                                 error_code &error);
    error_code secure(const Proxy &proxy);
    ByteStream &stream_of_proxy();
    ProxyDialogue::Next talk(ProxyDialogue &dialogue, error_code &error);
    error_code concluded(ProxyDialogue &dialogue, ProxyDialogue::Next last);

    const Peer peer_;
    Waiter &waiter_;
    std::shared_ptr<ConnectionReport> report_;
    Route route_;
    Wire wire_;
    std::unique_ptr<TlsStream> proxy_tls_; ///< to a proxy that speaks TLS
    TlsStream tls_;                        ///< to the peer
};

/// The address that a host is, if it is one.
std::optional<boost::asio::ip::address> as_literal(const std::string &host);

/// Whether the peer has ended the stream, said so or not.
bool is_end_of_stream(const boost::system::error_code &error);

} // namespace kavro
