#include "transport/tls_stream.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/error.hpp>

#include <algorithm>
#include <climits>

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;

namespace {

/// Four records in one read.
constexpr std::size_t read_ahead_bytes = 64 * 1024;

} // namespace

/// OpenSSL's way to the socket. Its own would raise a signal when the peer is gone, and would go on
/// using the descriptor after the socket is closed.
struct TlsStream::Bio {
    static const BIO_METHOD *method() {
        // Never freed: a stream that lives as long as the process needs it to the very end.
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

    static BIO *over(TlsStream &stream) {
        BIO *const bio = BIO_new(method());
        if (bio == nullptr)
            throw_openssl_error("BIO_new");
        BIO_set_data(bio, &stream);
        BIO_set_init(bio, 1);
        return bio;
    }

    static int read(BIO *bio, char *data, int size) {
        const auto room = static_cast<std::size_t>(size);
        const int bytes = transfer(bio, BIO_FLAGS_READ, [data, room](TlsStream &stream) {
            return stream.read_socket(data, room);
        });
        if (bytes > 0)
            stream_of(bio).traffic_.note_received({data, static_cast<std::size_t>(bytes)});
        return bytes;
    }

    static int write(BIO *bio, const char *data, int size) {
        const auto content = asio::buffer(data, static_cast<std::size_t>(size));
        const int bytes = transfer(bio, BIO_FLAGS_WRITE, [content](TlsStream &stream) {
            return stream.socket_.write_some(content, stream.socket_error_);
        });
        if (bytes > 0)
            stream_of(bio).traffic_.sent += static_cast<std::uint64_t>(bytes);
        return bytes;
    }

    static long control(BIO *, int command, long, void *) {
        return command == BIO_CTRL_FLUSH ? 1 : 0; // nothing is ever held back
    }

private:
    static TlsStream &stream_of(BIO *bio) { return *static_cast<TlsStream *>(BIO_get_data(bio)); }

    template <class Transfer>
    static int transfer(BIO *bio, int direction, Transfer transfer) {
        TlsStream &stream = stream_of(bio);
        BIO_clear_retry_flags(bio);
        const std::size_t bytes = transfer(stream);
        if (stream.socket_error_ == asio::error::would_block) {
            BIO_set_flags(bio, direction | BIO_FLAGS_SHOULD_RETRY);
            stream.socket_error_.clear();
            return -1;
        }
        return stream.socket_error_ ? -1 : static_cast<int>(bytes);
    }
};

TlsStream::TlsStream(asio::io_context &context, SSL_CTX *tls)
    : socket_(context), tls_(SSL_new(tls)) {
    if (!tls_)
        throw_openssl_error("SSL_new");
    BIO *const bio = Bio::over(*this);
    SSL_set_bio(tls_.get(), bio, bio);
    if (SSL_set_app_data(tls_.get(), this) != 1)
        throw_openssl_error("SSL_set_app_data");
    SSL_set_read_ahead(tls_.get(), 1);
    SSL_set_default_read_buffer_len(tls_.get(), read_ahead_bytes);
}

void TlsStream::set_verify_callback(VerifyCallback verify) {
    verify_ = std::move(verify);
    SSL_set_verify(tls_.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                   verify_certificate);
}

int TlsStream::verify_certificate(int preverified, X509_STORE_CTX *store) {
    const void *const tls = X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx());
    const auto &stream =
        *static_cast<const TlsStream *>(SSL_get_app_data(static_cast<const SSL *>(tls)));
    return stream.verify_(preverified != 0, store) ? 1 : 0;
}

/// First what a wait has brought, then what else there is. A read that does not fill its room has
/// emptied the socket: to ask once more would be a system call for nothing.
std::size_t TlsStream::read_socket(char *data, std::size_t size) {
    Arrived &arrived = *arrived_;
    std::size_t bytes = std::min(size, arrived.end - arrived.begin);
    std::copy_n(arrived.bytes.data() + arrived.begin, bytes, data);
    arrived.begin += bytes;
    if (bytes < size && !arrived.behind) {
        const asio::mutable_buffer room(data + bytes, size - bytes);
        const std::size_t more = socket_.read_some(room, arrived.behind);
        if (!arrived.behind && more < room.size())
            arrived.behind = asio::error::would_block;
        bytes += more;
    }
    if (bytes == 0)
        socket_error_ = arrived.behind;
    return bytes;
}

/// Tries a step of OpenSSL's, and again whenever the socket is ready for what the step waits for.
template <class Step>
void TlsStream::run(Step step, Handler handler, bool first) {
    ERR_clear_error();
    socket_error_.clear();
    const int result = step(tls_.get());
    const error_code error = error_of(result);
    if (error == asio::error::would_block)
        async_wait([this, step, handler = std::move(handler)](const error_code &failure) mutable {
            failure ? handler(failure) : run(step, std::move(handler), false);
        });
    else if (first && error)
        asio::post(socket_.get_executor(),
                   [handler = std::move(handler), error] { handler(error); });
    else
        handler(error);
}

/// What a step ended with; `would_block` when it is not over.
TlsStream::error_code TlsStream::error_of(int result) {
    switch (SSL_get_error(tls_.get(), result)) {
    case SSL_ERROR_NONE:
        return {};
    case SSL_ERROR_WANT_READ:
        awaited_ = Socket::wait_read;
        return asio::error::would_block;
    case SSL_ERROR_WANT_WRITE:
        awaited_ = Socket::wait_write;
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

void TlsStream::open(const Socket::protocol_type &protocol, error_code &error) {
    socket_.open(protocol, error);
    if (!error)
        socket_.non_blocking(true, error);
}

void TlsStream::async_handshake(Handler handler) {
    run(SSL_connect, std::move(handler), true);
}

void TlsStream::async_write(std::string_view bytes, Handler handler) {
    const auto step = [bytes](SSL *tls) {
        return SSL_write(tls, bytes.data(), static_cast<int>(bytes.size()));
    };
    run(step, std::move(handler), true);
}

std::size_t TlsStream::read_some(char *data, std::size_t size, error_code &error) {
    ERR_clear_error();
    socket_error_.clear();
    const int most = static_cast<int>(std::min<std::size_t>(size, INT_MAX));
    const int result = SSL_read(tls_.get(), data, most);
    error = error_of(result);
    return error ? 0 : static_cast<std::size_t>(result);
}

void TlsStream::async_wait(Handler handler) {
    if (awaited_ == Socket::wait_write)
        socket_.async_wait(awaited_, std::move(handler));
    else
        async_receive(std::move(handler));
}

void TlsStream::async_wait_readable(Handler handler) {
    const bool unread = arrived_->begin < arrived_->end ||
                        arrived_->behind != asio::error::would_block ||
                        SSL_has_pending(tls_.get()) != 0;
    if (unread)
        asio::post(socket_.get_executor(), [handler = std::move(handler)] { handler({}); });
    else
        async_receive(std::move(handler));
}

/// To read is cheaper than to wait and then to read: the socket is not asked for twice. How the
/// connection ended is for the next read to say.
void TlsStream::async_receive(Handler handler) {
    arrived_->begin = arrived_->end = 0;
    socket_.async_read_some(asio::buffer(arrived_->bytes),
                            [arrived = arrived_, handler = std::move(handler)](
                                const error_code &error, std::size_t bytes) {
                                if (error == asio::error::operation_aborted)
                                    return handler(error);
                                arrived->end = bytes;
                                arrived->behind = error;
                                if (!error && bytes < arrived->bytes.size())
                                    arrived->behind = asio::error::would_block;
                                handler({});
                            });
}

} // namespace kavro
