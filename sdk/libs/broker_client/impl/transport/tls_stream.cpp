#include "transport/tls_stream.h"

#include <boost/asio/error.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/error.hpp>

#include <algorithm>
#include <climits>
#include <stdexcept>

namespace kavro {

namespace asio = boost::asio;
namespace ssl = boost::asio::ssl;
using boost::system::error_code;

namespace {

/// Four records in one read.
constexpr int read_ahead_bytes = 64 * 1024;

bool is_address(const std::string &host) {
    error_code no_address;
    asio::ip::make_address(host, no_address);
    return !no_address;
}

int as_int(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

} // namespace

/// OpenSSL's way to the stream below. Its own goes to a socket, and would raise a signal when the
/// peer is gone.
struct TlsStream::Bio {
    static const BIO_METHOD *method() {
        // Never freed: a connection that lives as long as the process needs it to the very end.
        static const BIO_METHOD *const made = [] {
            BIO_METHOD *const bio =
                BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "stream");
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
        return outcome(bio, stream_of(bio).read_below(data, static_cast<std::size_t>(size)),
                       BIO_FLAGS_READ);
    }

    static int write(BIO *bio, const char *data, int size) {
        TlsStream &stream = stream_of(bio);
        const std::size_t bytes =
            stream.below_->write(data, static_cast<std::size_t>(size), stream.below_error_);
        return outcome(bio, bytes, BIO_FLAGS_WRITE);
    }

    static long control(BIO *, int command, long, void *) {
        return command == BIO_CTRL_FLUSH ? 1 : 0; // nothing is ever held back
    }

private:
    static TlsStream &stream_of(BIO *bio) { return *static_cast<TlsStream *>(BIO_get_data(bio)); }

    static int outcome(BIO *bio, std::size_t bytes, int direction) {
        error_code &error = stream_of(bio).below_error_;
        BIO_clear_retry_flags(bio);
        if (error == asio::error::would_block) {
            BIO_set_flags(bio, direction | BIO_FLAGS_SHOULD_RETRY);
            error.clear();
            return -1;
        }
        return error ? -1 : static_cast<int>(bytes);
    }
};

TlsStream::TlsStream(SSL_CTX *tls, const std::string &host, ByteStream &below)
    : below_(&below), tls_(SSL_new(tls)) {
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
            static_cast<TlsStream *>(self)->certificate_asked_ = true;
            return 1;
        },
        this);
    if (!is_address(host) && SSL_set_tlsext_host_name(tls_.get(), host.c_str()) != 1) {
        drain_openssl_errors();
        throw std::invalid_argument("the host name is too long for TLS");
    }
}

void TlsStream::move_to(ByteStream &below, SecureText early) {
    below_ = &below;
    early_ = std::move(early);
}

std::size_t TlsStream::read_below(char *data, std::size_t size) {
    std::size_t bytes = std::min(size, early_.size());
    if (bytes == 0) {
        bytes = below_->read(data, size, below_error_);
    } else {
        early_.copy(data, bytes);
        early_.erase(0, bytes);
    }
    if (peer_speech_ == PeerSpeech::nothing && bytes > 0)
        peer_speech_ = kavro::peer_speech({data, bytes});
    return bytes;
}

template <class Step>
int TlsStream::run(Step step, error_code &error) {
    ERR_clear_error();
    below_error_.clear();
    const int result = step(tls_.get());
    error = error_of(result);
    return result;
}

/// What a step ended with; `would_block` when it is not over.
error_code TlsStream::error_of(int result) const {
    switch (SSL_get_error(tls_.get(), result)) {
    case SSL_ERROR_NONE:
        return {};
    case SSL_ERROR_WANT_READ:
    case SSL_ERROR_WANT_WRITE:
        return asio::error::would_block;
    case SSL_ERROR_ZERO_RETURN:
        return asio::error::eof;
    case SSL_ERROR_SSL:
        return {static_cast<int>(ERR_get_error()), asio::error::get_ssl_category()};
    default:
        // An end that the peer did not announce may be an attacker's.
        if (below_error_ == asio::error::eof)
            return ssl::error::stream_truncated;
        return below_error_ ? below_error_ : error_code(ssl::error::unexpected_result);
    }
}

void TlsStream::set_verify_callback(VerifyCallback verify) {
    verify_ = std::move(verify);
    SSL_set_verify(tls_.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                   verify_certificate);
}

int TlsStream::verify_certificate(int preverified, X509_STORE_CTX *certificates) {
    const void *const tls =
        X509_STORE_CTX_get_ex_data(certificates, SSL_get_ex_data_X509_STORE_CTX_idx());
    const auto &stream =
        *static_cast<const TlsStream *>(SSL_get_app_data(static_cast<const SSL *>(tls)));
    return stream.verify_(preverified != 0, certificates) ? 1 : 0;
}

error_code TlsStream::shake_hands() {
    error_code error;
    run(SSL_connect, error);
    return error;
}

std::size_t TlsStream::read(char *data, std::size_t size, error_code &error) {
    const int bytes = run([=](SSL *tls) { return SSL_read(tls, data, as_int(size)); }, error);
    return error ? 0 : static_cast<std::size_t>(bytes);
}

std::size_t TlsStream::write(const char *data, std::size_t size, error_code &error) {
    const int bytes = run([=](SSL *tls) { return SSL_write(tls, data, as_int(size)); }, error);
    return error ? 0 : static_cast<std::size_t>(bytes);
}

} // namespace kavro
