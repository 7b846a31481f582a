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

std::optional<asio::ip::address> as_literal(const std::string &host) {
    error_code not_literal;
    const auto address = asio::ip::make_address(host, not_literal);
    return not_literal ? std::nullopt : std::optional(address);
}

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

error_code TlsConnection::reach(const NameResolver &resolver,
                                std::optional<TcpSocket::Endpoint> &known) {
    error_code error;
    const auto endpoints = known ? NameResolver::Endpoints{*known} : find(resolver, error);
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

/// The addresses that the peer may be reached at; at least one unless there is an error.
NameResolver::Endpoints TlsConnection::find(const NameResolver &resolver, error_code &error) {
    if (const auto address = as_literal(peer_.host))
        return {endpoint_at(*address, peer_.port)};
    report_->enter(ConnectionPhase::resolve);
    auto endpoints = resolver.resolve(peer_.host, peer_.port, waiter_, error);
    if (!error && endpoints.empty())
        error = asio::error::host_not_found;
    return endpoints;
}

error_code TlsConnection::shake_hands() {
    report_->enter(ConnectionPhase::handshake);
    const error_code error =
        wire_.run([this] { return tls_.shake_hands(); }, most_bytes_in_a_handshake);
    return error == asio::error::no_buffer_space ? handshake_too_long() : error;
}

error_code TlsConnection::write(std::string_view bytes) {
    report_->enter(ConnectionPhase::send);
    const error_code error = wire_.run([&] {
        error_code failure;
        tls_.write(bytes.data(), bytes.size(), failure);
        return failure;
    });
    if (!error)
        report_->enter(ConnectionPhase::wait);
    return error;
}

error_code TlsConnection::read(HttpResponseParser &answer, HttpResponseParser::State &state) {
    state = HttpResponseParser::State::need_more;
    while (state == HttpResponseParser::State::need_more) {
        const auto space = answer.space();
        std::size_t bytes = 0;
        const error_code error = wire_.run([&] {
            error_code failure;
            bytes = tls_.read(space.data, space.size, failure);
            return failure;
        });
        if (error)
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

bool is_end_of_stream(const error_code &error) {
    return error == asio::error::eof || error == ssl::error::stream_truncated;
}

} // namespace kavro
