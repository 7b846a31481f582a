#pragma once

#include "minting.h"

#include <openssl/err.h>

namespace fuzz {

/// Certificates in DER form one behind the other, as many as can be read, which is where `data`
/// then is.
inline std::vector<broker_sim::CertificatePtr> read_certificates(const std::uint8_t *&data,
                                                                 std::size_t size) {
    constexpr std::size_t most = 8;
    std::vector<broker_sim::CertificatePtr> chain;
    for (const auto *const end = data + size; data < end && chain.size() < most;) {
        X509 *const certificate = d2i_X509(nullptr, &data, end - data);
        if (certificate == nullptr)
            break;
        chain.emplace_back(certificate, X509_free);
    }
    ERR_clear_error();
    return chain;
}

inline bool has_good_key(X509 *certificate) {
    const EVP_PKEY *key = X509_get0_pubkey(certificate);
    const int type = key != nullptr ? EVP_PKEY_get_base_id(key) : EVP_PKEY_NONE;
    return (type == EVP_PKEY_RSA && EVP_PKEY_get_bits(key) >= 1024) ||
           (type == EVP_PKEY_EC && EVP_PKEY_get_bits(key) >= 163);
}

} // namespace fuzz
