#include "transport/proxy/proxy_dialogue.h"
#include "transport/proxy/system_proxy.h"
#include "transport/tls_connection.h"
#include "utils/src/broker_log.h"

#include <array>

// How a connection gets through a proxy to its server.

namespace kavro {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

constexpr std::size_t answer_bytes = 16 * 1024;

class ProxyCategory final : public boost::system::error_category {
public:
    const char *name() const noexcept override { return "proxy"; }
    std::string message(int) const override { return "the proxy fails"; }
};

bool is_socks(ProxyKind kind) {
    return kind == ProxyKind::socks5 || kind == ProxyKind::socks5h;
}

bool is_end_of_connection(const error_code &error) {
    return is_end_of_stream(error) || error == asio::error::connection_reset ||
           error == asio::error::broken_pipe;
}

} // namespace

const boost::system::error_category &proxy_category() {
    static const ProxyCategory category;
    return category;
}

/// Asks the system for its proxy when the route says so. A log-in that the route names is for a
/// proxy that comes without one.
error_code TlsConnection::choose_proxy() {
    if (!route_.proxy || route_.proxy->kind != ProxyKind::system)
        return {};
    auto found = system_proxy(peer_, waiter_);
    if (const error_code over = waiter_.check())
        return over;
    if (!found) {
        report_->error = found.error();
        return ProxyError::failed;
    }
    if (*found && (*found)->user.empty()) {
        Proxy with_log_in = **found;
        with_log_in.user = route_.proxy->user;
        with_log_in.password = route_.proxy->password;
        found = std::make_shared<const Proxy>(with_log_in);
    }
    route_.proxy = *found;
    return {};
}

/// Whatever goes wrong on the way, it is the proxy that fails.
error_code TlsConnection::reach_through(const Proxy &proxy, const NameResolver &resolver,
                                        const KnownEndpoints &known) {
    log_info("Connecting to %s through the proxy %s://%s", printable(authority_of(peer_)).c_str(),
             name_of(proxy.kind), printable(authority_of(proxy.peer)).c_str());
    report_->proxy = {name_of(proxy.kind), proxy.peer.host, proxy.peer.port};
    const error_code error = open_tunnel(proxy, resolver, known);
    if (!error || error == asio::error::operation_aborted || error.category() == proxy_category())
        return error;
    report_->error = "the proxy cannot be used: " + error.message();
    return ProxyError::failed;
}

error_code TlsConnection::open_tunnel(const Proxy &proxy, const NameResolver &resolver,
                                      const KnownEndpoints &known) {
    error_code error;
    const auto dialogue = dialogue_with(proxy, resolver, error);
    auto next = ProxyDialogue::Next::reconnect;
    while (!error && next == ProxyDialogue::Next::reconnect) {
        error = connect_to(proxy.peer, resolver, known(proxy.peer));
        if (error)
            break;
        report_->enter(ConnectionPhase::proxy);
        if (proxy.kind == ProxyKind::https)
            error = secure(proxy);
        if (!error)
            next = talk(*dialogue, error);
    }
    report_->proxy->status = dialogue->status();
    return error ? error : concluded(*dialogue, next);
}

std::unique_ptr<ProxyDialogue>
TlsConnection::dialogue_with(const Proxy &proxy, const NameResolver &resolver, error_code &error) {
    if (!is_socks(proxy.kind))
        return http_dialogue(proxy, peer_, system_tickets(waiter_));
    Addresses addresses;
    if (proxy.kind == ProxyKind::socks5 || as_literal(peer_.host))
        for (const auto &endpoint : find(peer_, resolver, error))
            addresses.push_back(endpoint.address());
    return socks_dialogue(proxy, peer_, std::move(addresses));
}

/// TLS with the proxy itself, which proves who it is before it is told anything.
error_code TlsConnection::secure(const Proxy &proxy) {
    proxy_tls_ = std::make_unique<TlsStream>(route_.tls, proxy.peer.host, wire_);
    if (auto judge = route_.judge_of(proxy.peer.host))
        proxy_tls_->set_verify_callback(std::move(judge));
    if (const error_code error = shake_hands(*proxy_tls_))
        return error;
    return route_.accepted() ? error_code() : ProxyError::certificate;
}

ByteStream &TlsConnection::stream_of_proxy() {
    return proxy_tls_ ? static_cast<ByteStream &>(*proxy_tls_) : wire_;
}

/// Until the dialogue is over, on this connection at least.
ProxyDialogue::Next TlsConnection::talk(ProxyDialogue &dialogue, error_code &error) {
    using Next = ProxyDialogue::Next;
    std::array<char, answer_bytes> answer;
    Next next = dialogue.connected();
    while (next == Next::send || next == Next::read) {
        std::size_t bytes = 0;
        if (next == Next::send)
            error = write_to(stream_of_proxy(), dialogue.request());
        if (!error)
            error = read_from(stream_of_proxy(), answer.data(), answer.size(), bytes);
        if (is_end_of_connection(error)) {
            error.clear();
            next = dialogue.ended();
        } else if (error) {
            return next;
        } else {
            next = dialogue.received({answer.data(), bytes});
        }
    }
    error = waiter_.check(); // a ticket may have been waited for
    return next;
}

error_code TlsConnection::concluded(ProxyDialogue &dialogue, ProxyDialogue::Next last) {
    if (last == ProxyDialogue::Next::open) {
        tls_.move_to(stream_of_proxy(), dialogue.take_early_bytes());
        return {};
    }
    report_->error = dialogue.reason();
    return last == ProxyDialogue::Next::log_in ? ProxyError::log_in_wanted : ProxyError::failed;
}

} // namespace kavro
