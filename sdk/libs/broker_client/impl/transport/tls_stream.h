#pragma once

#include "transport/connection_report.h"
#include "utils/src/openssl_handles.h"

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>
#include <openssl/ssl.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

namespace kavro {

/// TLS as the client of one connection. OpenSSL reads the socket by itself and ahead, so that a
/// long answer takes a system call for every 64 KiB and not several for every record, and nothing
/// is copied on the way but the first bytes that a wait ends with.
///
/// One operation at a time. Handlers are called from the context; only async_write() calls its own
/// at once when the socket has taken everything. Closing the socket ends the operation under way.
class TlsStream {
public:
    using error_code = boost::system::error_code;
    using Socket = boost::asio::ip::tcp::socket;
    using Handler = std::function<void(const error_code &)>;
    using VerifyCallback = std::function<bool(bool, X509_STORE_CTX *)>;

    TlsStream(boost::asio::io_context &context, SSL_CTX *tls);
    TlsStream(const TlsStream &) = delete;
    TlsStream &operator=(const TlsStream &) = delete;

    Socket &socket() { return socket_; }
    SSL *native_handle() { return tls_.get(); }
    const Traffic &traffic() const { return traffic_; }
    /// Without a callback nobody is asked who the server is.
    void set_verify_callback(VerifyCallback verify);

    /// Opens the socket, in the mode that all other operations need.
    void open(const Socket::protocol_type &protocol, error_code &error);
    /// Over a socket that is connected.
    void async_handshake(Handler handler);
    /// All of the bytes, which must stay until then.
    void async_write(std::string_view bytes, Handler handler);
    /// What has come, at most one record; `would_block` when nothing has.
    std::size_t read_some(char *data, std::size_t size, error_code &error);
    /// After `would_block`: until it is worth to try again.
    void async_wait(Handler handler);
    /// Until there may be something to read.
    void async_wait_readable(Handler handler);

private:
    struct Bio;
    /// What a wait ended with and OpenSSL has not read yet. The system may write to it for as long
    /// as the wait is under way, whatever becomes of the stream.
    struct Arrived {
        std::array<char, 4096> bytes;
        std::size_t begin = 0;
        std::size_t end = 0;
        /// What a read meets behind them; nothing when that must be asked.
        error_code behind = boost::asio::error::would_block;
    };

    template <class Step>
    void run(Step step, Handler handler, bool first);
    error_code error_of(int result);
    void async_receive(Handler handler);
    std::size_t read_socket(char *data, std::size_t size);
    static int verify_certificate(int preverified, X509_STORE_CTX *store);

    Socket socket_;
    SslHandle tls_;
    VerifyCallback verify_;
    error_code socket_error_; ///< of the last read or write
    Traffic traffic_;
    Socket::wait_type awaited_ = Socket::wait_read;
    std::shared_ptr<Arrived> arrived_ = std::make_shared<Arrived>();
};

} // namespace kavro
