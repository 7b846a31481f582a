#include "transport/tls_connection.h"

#include "utils/src/broker_utils.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/error.hpp>

#include <algorithm>
#include <climits>
#include <limits>
#include <stdexcept>

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
using boost::system::error_code;

namespace {

/// Four records in one read.
constexpr int read_ahead_bytes = 64 * 1024;
constexpr std::size_t most_bytes_in_a_step = 256 * 1024;
constexpr std::uint64_t most_bytes_in_a_handshake = 1024 * 1024;
constexpr std::uint64_t no_limit = std::numeric_limits<std::uint64_t>::max();

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

/// OpenSSL's way to the socket. Its own would raise a signal when the peer is gone, and would let a
/// peer that is always ahead keep OpenSSL in one step for as long as it likes.
struct TlsConnection::Bio {
    static const BIO_METHOD *method() {
        // Never freed: a connection that lives as long as the process needs it to the very end.
        static const BIO_METHOD *const made = [] {
            BIO_METHOD *const bio =
                BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "socket");
            if (bio == nullptr || BIO_meth_set_read(bio, read) != 1 ||
                BIO_meth_set_write(bio, write) != 1 || BIO_meth_set_ctrl(bio, control) != 1)
                throw_openssl_error("BIO_meth_new");
            return bio;
        }();
        return made;
    }

    static BIO *over(TlsConnection &connection) {
        BIO *const bio = BIO_new(method());
        if (bio == nullptr)
            throw_openssl_error("BIO_new");
        BIO_set_data(bio, &connection);
        BIO_set_init(bio, 1);
        return bio;
    }

    /// A read that does not fill its room has emptied the socket, and what was just sent is not
    /// answered yet: to ask before the next wait would be a system call for nothing.
    static int read(BIO *bio, char *data, int size) {
        TlsConnection &connection = connection_of(bio);
        error_code &error = connection.socket_error_;
        const auto room = static_cast<std::size_t>(size);
        std::size_t bytes = 0;
        if (connection.drained_ || connection.taken_in_step_ >= most_bytes_in_a_step)
            error = asio::error::would_block;
        else
            bytes = connection.socket_.read(data, room, error);
        if (bytes > 0) {
            connection.drained_ = bytes < room;
            connection.taken_in_step_ += bytes;
            connection.traffic_.note_received({data, bytes});
        }
        return outcome(bio, bytes, BIO_FLAGS_READ);
    }

    static int write(BIO *bio, const char *data, int size) {
        TlsConnection &connection = connection_of(bio);
        const std::size_t bytes = connection.socket_.write(data, static_cast<std::size_t>(size),
                                                           connection.socket_error_);
        connection.traffic_.sent += bytes;
        connection.drained_ = true;
        return outcome(bio, bytes, BIO_FLAGS_WRITE);
    }

    static long control(BIO *, int command, long, void *) {
        return command == BIO_CTRL_FLUSH ? 1 : 0; // nothing is ever held back
    }

private:
    static TlsConnection &connection_of(BIO *bio) {
        return *static_cast<TlsConnection *>(BIO_get_data(bio));
    }

    static int outcome(BIO *bio, std::size_t bytes, int direction) {
        error_code &error = connection_of(bio).socket_error_;
        BIO_clear_retry_flags(bio);
        if (error == asio::error::would_block) {
            BIO_set_flags(bio, direction | BIO_FLAGS_SHOULD_RETRY);
            error.clear();
            return -1;
        }
        return error ? -1 : static_cast<int>(bytes);
    }
};

TlsConnection::TlsConnection(SSL_CTX *tls, Peer peer, Waiter &waiter,
                             std::shared_ptr<ConnectionReport> report)
    : peer_(std::move(peer)), waiter_(waiter), report_(std::move(report)), tls_(SSL_new(tls)) {
    if (!tls_)
        throw_openssl_error("SSL_new");
    BIO *const bio = Bio::over(*this);
    SSL_set_bio(tls_.get(), bio, bio);
    if (SSL_set_app_data(tls_.get(), this) != 1)
        throw_openssl_error("SSL_set_app_data");
    SSL_set_read_ahead(tls_.get(), 1);
    SSL_set_default_read_buffer_len(tls_.get(), read_ahead_bytes);
    SSL_set_cert_cb(
        tls_.get(),
        [](SSL *, void *self) {
            static_cast<TlsConnection *>(self)->certificate_asked_ = true;
            return 1;
        },
        this);
    report_->host = peer_.host;
    report_->port = peer_.port;
    if (as_literal(peer_.host)) {
        if (!is_port_number(peer_.port))
            throw std::invalid_argument("\"" + peer_.port + "\" is no port number");
    } else if (SSL_set_tlsext_host_name(tls_.get(), peer_.host.c_str()) != 1) {
        drain_openssl_errors();
        throw std::invalid_argument("the host name is too long for TLS");
    }
}

error_code TlsConnection::reach(const NameResolver &resolver,
                                std::optional<TcpSocket::Endpoint> &known) {
    error_code error;
    const auto endpoints = known ? NameResolver::Endpoints{*known} : find(resolver, error);
    known.reset();
    if (error)
        return error;
    report_->enter(ConnectionPhase::connect);
    socket_ = connect_to_one_of(endpoints, waiter_, *report_, error);
    if (error)
        return error;
    socket_.send_without_delay();
    error_code gone; // is met again, and reported, by what comes next
    if (const auto answered = socket_.remote_endpoint(gone); !gone)
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

/// Tries a step of OpenSSL's until it is over, and waits for the socket in between.
template <class Step>
error_code TlsConnection::run(Step step, std::uint64_t most_bytes) {
    while (true) {
        if (const error_code over = waiter_.check())
            return over;
        ERR_clear_error();
        socket_error_.clear();
        taken_in_step_ = 0;
        const error_code error = error_of(step(tls_.get()));
        if (error != asio::error::would_block)
            return error;
        if (traffic_.received > most_bytes)
            return handshake_too_long();
        if (taken_in_step_ >= most_bytes_in_a_step && !drained_ && !to_write_)
            continue; // there is more, but others have their turn
        system_sockets::Awaited awaited{socket_.handle(), to_write_};
        while (!awaited.ready) {
            if (const error_code over = waiter_.wait({&awaited, 1}))
                return over;
        }
        drained_ = drained_ && to_write_;
    }
}

/// What a step ended with; `would_block` when it is not over.
error_code TlsConnection::error_of(int result) {
    switch (SSL_get_error(tls_.get(), result)) {
    case SSL_ERROR_NONE:
        return {};
    case SSL_ERROR_WANT_READ:
    case SSL_ERROR_WANT_WRITE:
        to_write_ = SSL_want_write(tls_.get()) != 0;
        return asio::error::would_block;
    case SSL_ERROR_ZERO_RETURN:
        return asio::error::eof;
    case SSL_ERROR_SSL:
        return {static_cast<int>(ERR_get_error()), asio::error::get_ssl_category()};
    default:
        // An end that the peer did not announce may be an attacker's.
        if (socket_error_ == asio::error::eof)
            return ssl::error::stream_truncated;
        return socket_error_ ? socket_error_ : error_code(ssl::error::unexpected_result);
    }
}

void TlsConnection::set_verify_callback(VerifyCallback verify) {
    verify_ = std::move(verify);
    SSL_set_verify(tls_.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                   verify_certificate);
}

int TlsConnection::verify_certificate(int preverified, X509_STORE_CTX *certificates) {
    const void *const tls =
        X509_STORE_CTX_get_ex_data(certificates, SSL_get_ex_data_X509_STORE_CTX_idx());
    const auto &connection =
        *static_cast<const TlsConnection *>(SSL_get_app_data(static_cast<const SSL *>(tls)));
    return connection.verify_(preverified != 0, certificates) ? 1 : 0;
}

error_code TlsConnection::shake_hands() {
    report_->enter(ConnectionPhase::handshake);
    return run(SSL_connect, most_bytes_in_a_handshake);
}

error_code TlsConnection::write(std::string_view bytes) {
    report_->enter(ConnectionPhase::send);
    const error_code error = run(
        [bytes](SSL *tls) { return SSL_write(tls, bytes.data(), static_cast<int>(bytes.size())); },
        no_limit);
    if (!error)
        report_->enter(ConnectionPhase::wait);
    return error;
}

error_code TlsConnection::read(HttpResponseParser &answer, HttpResponseParser::State &state) {
    state = HttpResponseParser::State::need_more;
    while (state == HttpResponseParser::State::need_more) {
        const auto space = answer.space();
        int bytes = 0;
        const auto step = [space, &bytes](SSL *tls) {
            return bytes = SSL_read(tls, space.data,
                                    static_cast<int>(std::min<std::size_t>(space.size, INT_MAX)));
        };
        if (const error_code error = run(step, no_limit))
            return error;
        if (!report_->reached(ConnectionPhase::receive))
            report_->enter(ConnectionPhase::receive);
        state = answer.received(static_cast<std::size_t>(bytes));
    }
    return {};
}

bool is_end_of_stream(const error_code &error) {
    return error == asio::error::eof || error == ssl::error::stream_truncated;
}

} // namespace kavro
