#pragma once

#include "trust/external_key.h"
#include "utils/src/openssl_types.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace kavro {

/// Signs a digest of 32, 48 or 64 bytes (SHA-256, -384, -512; PKCS #1 v1.5, RFC 8017 section 8.2).
/// `*signature_length` is the room in `signature` on entry and the signature's length on return.
/// Returns 1 on success, 0 on failure.
using SigningFunction = std::function<int(const std::uint8_t *digest, std::size_t digest_length,
                                          std::uint8_t *signature, std::size_t *signature_length)>;

/// The client's certificate and a private key that lives elsewhere: every signature that the TLS
/// handshake needs is asked for from a signing function.
class ClientSigning {
public:
    ClientSigning();
    ClientSigning(const ClientSigning &) = delete;
    ClientSigning &operator=(const ClientSigning &) = delete;

    void set_signing_function(SigningFunction sign) { sign_ = std::move(sign); }
    /// Takes the certificate over, to be signed for by the function above. Only RSA certificates
    /// can be: false for any other.
    bool set_client_certificate(X509Handle certificate);
    /// Takes over a certificate and those of its issuers, which are sent with it. False for a key
    /// that external_key() does not take.
    bool set_signing_key(std::vector<X509Handle> certificates, SchemeSigningFunction sign);

    /// Installs certificate and key on a stream, when there are any. With set_client_certificate()
    /// the stream then speaks at most TLS 1.2 and offers PKCS #1 signatures only, because with no
    /// other kind a bare digest says enough; a server that insists on another ends the handshake.
    /// Throws when TLS does not take the certificate, for the weakness of its key say.
    void install(ssl_st *stream) const;

private:
    SigningFunction sign_;
    std::vector<X509Handle> certificates_; ///< the client's own first
    EvpPkeyHandle key_;
    bool only_bare_digests_ = false;
};

} // namespace kavro
