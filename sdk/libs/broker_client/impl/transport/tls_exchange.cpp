#include "transport/tls_exchange.h"

#include "transport/tls_connection.h"
#include "utils/src/broker_utils.h"

#include <optional>
#include <stdexcept>

namespace kavro {

namespace {

std::string text_of(const boost::system::error_code &error) {
    return error ? error.message() : std::string();
}

} // namespace

TlsExchange::TlsExchange(Waiter &waiter, std::chrono::milliseconds timeout) : waiter_(waiter) {
    waiter_.set_deadline(timeout);
}

TlsExchange::~TlsExchange() {
    waiter_.forget_deadline();
}

std::string TlsExchange::connect(SSL_CTX *tls, const Peer &peer, Route route,
                                 VerifyCallback verify) try {
    if (!is_usable_host(peer.host))
        return "The host name cannot be used";
    connection_ =
        std::make_unique<TlsConnection>(tls, peer, waiter_, std::make_shared<ConnectionReport>());
    if (verify)
        connection_->set_verify_callback(std::move(verify));
    connection_->go_by(std::move(route));
    std::optional<TcpSocket::Endpoint> nothing_known;
    const auto error = connection_->reach(
        NameResolver(), [&](const Peer &) -> auto & { return nothing_known; });
    return error ? connection_->words_of(error) : std::string();
} catch (const std::invalid_argument &unusable) {
    return unusable.what();
}

std::string TlsExchange::handshake() {
    return text_of(connection_->shake_hands());
}

std::string TlsExchange::write(std::string_view bytes) {
    return text_of(connection_->write(bytes));
}

std::string TlsExchange::read(HttpResponseParser &answer) {
    auto state = HttpResponseParser::State::need_more;
    const auto error = connection_->read(answer, state);
    if (is_end_of_stream(error))
        state = answer.end_of_stream();
    else if (error)
        return text_of(error);
    switch (state) {
    case HttpResponseParser::State::not_ok:
        return "The server answered with another status than 200";
    case HttpResponseParser::State::mangled:
        return "The answer is cut short, over a limit or no HTTP";
    default:
        return {};
    }
}

X509Handle TlsExchange::server_certificate() const {
    return X509Handle(SSL_get_peer_certificate(connection_->native_handle()));
}

} // namespace kavro
