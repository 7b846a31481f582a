#include "transport/tls_connection.h"

#include "utils/src/broker_utils.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/error.hpp>

#include <stdexcept>

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
using boost::system::error_code;

namespace {

constexpr std::uint64_t most_bytes_in_a_handshake = 1024 * 1024;

/// A literal address is connected to as it stands, and nobody else will look at its port.
TcpSocket::Endpoint endpoint_at(const asio::ip::address &address, const std::string &port) {
    return {address, static_cast<unsigned short>(std::stoi(port))};
}

error_code handshake_too_long() {
    return {static_cast<int>(ERR_PACK(ERR_LIB_SSL, 0, SSL_R_EXCESSIVE_MESSAGE_SIZE)),
            asio::error::get_ssl_category()};
}

} // namespace

TlsConnection::TlsConnection(SSL_CTX *tls, Peer peer, Waiter &waiter,
                             std::shared_ptr<ConnectionReport> report)
    : peer_(std::move(peer)),
      waiter_(waiter),
      report_(std::move(report)),
      wire_(waiter),
      tls_(tls, peer_.host, wire_) {
    report_->host = peer_.host;
    report_->port = peer_.port;
    if (as_literal(peer_.host) && !is_port_number(peer_.port))
        throw std::invalid_argument("\"" + peer_.port + "\" is no port number");
}

error_code TlsConnection::reach(const NameResolver &resolver, const KnownEndpoints &known) {
    if (const error_code error = choose_proxy())
        return error;
    return route_.proxy ? reach_through(*route_.proxy, resolver, known)
                        : connect_to(peer_, resolver, known(peer_));
}

error_code TlsConnection::connect_to(const Peer &peer, const NameResolver &resolver,
                                     std::optional<TcpSocket::Endpoint> &known) {
    error_code error;
    const auto endpoints = known ? NameResolver::Endpoints{*known} : find(peer, resolver, error);
    known.reset();
    if (error)
        return error;
    report_->enter(ConnectionPhase::connect);
    wire_.use(connect_to_one_of(endpoints, waiter_, *report_, error));
    if (error)
        return error;
    error_code gone; // is met again, and reported, by what comes next
    if (const auto answered = wire_.socket().remote_endpoint(gone); !gone)
        known = answered;
    return {};
}

/// The addresses that a peer may be reached at; at least one unless there is an error.
NameResolver::Endpoints TlsConnection::find(const Peer &peer, const NameResolver &resolver,
                                            error_code &error) {
    if (const auto address = as_literal(peer.host))
        return {endpoint_at(*address, peer.port)};
    report_->enter(ConnectionPhase::resolve);
    auto endpoints = resolver.resolve(peer.host, peer.port, waiter_, error);
    if (!error && endpoints.empty())
        error = asio::error::host_not_found;
    return endpoints;
}

error_code TlsConnection::shake_hands() {
    report_->enter(ConnectionPhase::handshake);
    return shake_hands(tls_);
}

error_code TlsConnection::shake_hands(TlsStream &stream) {
    const error_code error =
        wire_.run([&stream] { return stream.shake_hands(); }, most_bytes_in_a_handshake);
    return error == asio::error::no_buffer_space ? handshake_too_long() : error;
}

error_code TlsConnection::write_to(ByteStream &stream, std::string_view bytes) {
    return wire_.run([&] {
        error_code error;
        while (!error && !bytes.empty())
            bytes.remove_prefix(stream.write(bytes.data(), bytes.size(), error));
        return error;
    });
}

error_code TlsConnection::read_from(ByteStream &stream, char *data, std::size_t room,
                                    std::size_t &bytes) {
    return wire_.run([&] {
        error_code error;
        bytes = stream.read(data, room, error);
        return error;
    });
}

error_code TlsConnection::write(std::string_view bytes) {
    report_->enter(ConnectionPhase::send);
    const error_code error = write_to(tls_, bytes);
    if (!error)
        report_->enter(ConnectionPhase::wait);
    return error;
}

error_code TlsConnection::read(HttpResponseParser &answer, HttpResponseParser::State &state) {
    state = HttpResponseParser::State::need_more;
    while (state == HttpResponseParser::State::need_more) {
        const auto space = answer.space();
        std::size_t bytes = 0;
        if (const error_code error = read_from(tls_, space.data, space.size, bytes))
            return error;
        if (!report_->reached(ConnectionPhase::receive))
            report_->enter(ConnectionPhase::receive);
        state = answer.received(bytes);
    }
    return {};
}

void TlsConnection::begin_anew(std::shared_ptr<ConnectionReport> report) {
    report->continue_on(*report_);
    report_ = std::move(report);
    wire_.begin_anew();
}

error_code TlsConnection::look() {
    wire_.begin_anew();
    char unasked = 0;
    error_code error;
    tls_.read(&unasked, sizeof unasked, error);
    return wire_.is_read_empty() ? error : error_code();
}

Traffic TlsConnection::traffic() const {
    Traffic traffic = wire_.traffic();
    traffic.peer_speech = tls_.peer_speech();
    return traffic;
}

std::string TlsConnection::words_of(const error_code &error) const {
    return error.category() == proxy_category() ? report_->error : error.message();
}

std::optional<asio::ip::address> as_literal(const std::string &host) {
    error_code not_literal;
    const auto address = asio::ip::make_address(host, not_literal);
    return not_literal ? std::nullopt : std::optional(address);
}

bool is_end_of_stream(const error_code &error) {
    return error == asio::error::eof || error == ssl::error::stream_truncated;
}

} // namespace kavro
