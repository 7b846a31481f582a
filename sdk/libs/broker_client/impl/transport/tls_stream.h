#pragma once

#include "transport/byte_stream.h"
#include "transport/connection_report.h"
#include "transport/peer.h"
#include "utils/src/openssl_handles.h"
#include "utils/src/secure_text.h"

#include <openssl/ssl.h>

#include <cstddef>
#include <string>

namespace kavro {

/// TLS as a client over another stream, which may be TLS itself. It reads that ahead, so that a
/// long answer takes a system call for every 64 KiB and not several for every record.
class TlsStream final : public ByteStream {
public:
    /// @param tls is copied from now. @param host is told to the server, unless it is an address.
    /// @throws std::invalid_argument for a name that is too long for TLS;
    ///         boost::system::system_error when TLS cannot be set up.
    TlsStream(SSL_CTX *tls, const std::string &host, ByteStream &below);
    TlsStream(const TlsStream &) = delete;
    TlsStream &operator=(const TlsStream &) = delete;

    /// Goes over another stream from now on. @param early what was read of it by mistake.
    void move_to(ByteStream &below, SecureText early);

    /// Without a callback nobody is asked who the server is.
    void set_verify_callback(VerifyCallback verify);
    /// A step; `would_block` when it is not over.
    error_code shake_hands();
    std::size_t read(char *data, std::size_t size, error_code &error) override;
    std::size_t write(const char *data, std::size_t size, error_code &error) override;

    SSL *native_handle() { return tls_.get(); }
    /// By the first bytes that came.
    PeerSpeech peer_speech() const { return peer_speech_; }
    /// Whether the peer has asked for a client certificate and was shown none.
    bool missed_certificate() const {
        return certificate_asked_ && SSL_get_certificate(tls_.get()) == nullptr;
    }

private:
    struct Bio;

    template <class Step>
    int run(Step step, error_code &error);
    error_code error_of(int result) const;
    std::size_t read_below(char *data, std::size_t size);
    static int verify_certificate(int preverified, X509_STORE_CTX *certificates);

    ByteStream *below_;
    SecureText early_;
    error_code below_error_; ///< of the last read or write
    SslHandle tls_;
    VerifyCallback verify_;
    bool certificate_asked_ = false;
    PeerSpeech peer_speech_ = PeerSpeech::nothing;
};

} // namespace kavro
