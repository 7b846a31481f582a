#pragma once

#include "utils/src/openssl_types.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace kavro {

/// Signs a digest of 32, 48 or 64 bytes (SHA-256, -384, -512; PKCS #1 v1.5, RFC 8017 section 8.2).
/// `*signature_length` is the room in `signature` on entry and the signature's length on return.
/// Returns 1 on success, 0 on failure.
using SigningFunction = std::function<int(const std::uint8_t *digest, std::size_t digest_length,
                                          std::uint8_t *signature, std::size_t *signature_length)>;

/// The client's certificate and a private key that lives elsewhere, on a smart card say: every
/// signature that the TLS handshake needs is asked for from a signing function.
class ClientSigning {
public:
    ClientSigning();
    ~ClientSigning();
    ClientSigning(const ClientSigning &) = delete;
    ClientSigning &operator=(const ClientSigning &) = delete;

    void set_signing_function(SigningFunction sign);
    /// Takes the certificate over. Only RSA certificates can be signed for: false for any other.
    bool set_client_certificate(X509Handle certificate);

    /// Installs certificate and key on a stream, when there are any. The stream then speaks at most
    /// TLS 1.2 and offers PKCS #1 signatures only, because no other kind hands the signing function
    /// a bare digest; a server that insists on another ends the handshake. Throws when TLS does not
    /// take the certificate, for the weakness of its key say.
    void install(ssl_st *stream) const;

private:
    struct Method;

    std::unique_ptr<Method> method_; ///< outlives the key that uses it
    X509Handle certificate_;
    EvpPkeyHandle key_;
};

} // namespace kavro
