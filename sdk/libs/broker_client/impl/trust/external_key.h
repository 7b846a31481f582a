#pragma once

#include "utils/src/openssl_types.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace kavro {

/// Signs a digest by a TLS SignatureScheme (RFC 8446 section 4.2.3; TLS 1.2 numbers its own alike).
/// `*signature_length` is the room in `signature` on entry and the signature's length on return.
/// Returns 0 on success.
using SchemeSigningFunction =
    std::function<int(std::uint16_t scheme, const std::uint8_t *digest, std::size_t digest_length,
                      std::uint8_t *signature, std::size_t *signature_length)>;

/// The key of a certificate as OpenSSL takes private keys, with every signature made by a function:
/// the private half lives elsewhere, on a smart card say. Null, and nothing in OpenSSL's queue, for
/// another kind of key than RSA, for PSS alone as well, and EC over P-256, P-384 and P-521.
EvpPkeyHandle external_key(const x509_st *certificate, SchemeSigningFunction sign);

} // namespace kavro
