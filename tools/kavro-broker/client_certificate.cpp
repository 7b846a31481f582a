#include "client_certificate.h"

#include "failure.h"
#include "utils/src/openssl_handles.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/pem.h>

#include <algorithm>
#include <stdexcept>

namespace kavro_cli {

using kavro_broker::bytes;

namespace {

bytes pem_of(const std::vector<bytes> &certificates) {
    const kavro::OpenSslHandle<BIO, BIO_free> text(BIO_new(BIO_s_mem()));
    for (const bytes &der : certificates)
        PEM_write_bio(text.get(), PEM_STRING_X509, "", der.data(), static_cast<long>(der.size()));
    const char *data = nullptr;
    const long size = BIO_get_mem_data(text.get(), &data);
    return {data, data + size};
}

bool is_ecdsa(std::uint16_t scheme) {
    return (scheme & 0xFF) == 0x03;
}

/// From r and s, one behind the other, to the form of RFC 3279 section 2.2.3.
bytes ecdsa_der(const bytes &r_and_s, std::size_t size_of_each) {
    if (r_and_s.size() != 2 * size_of_each)
        throw std::runtime_error("The signature has another length than the key's.");
    const auto number = [&](std::size_t at) {
        return BN_bin2bn(r_and_s.data() + at, static_cast<int>(size_of_each), nullptr);
    };
    const kavro::OpenSslHandle<ECDSA_SIG, ECDSA_SIG_free> pair(ECDSA_SIG_new());
    ECDSA_SIG_set0(pair.get(), number(0), number(size_of_each));
    bytes der(static_cast<std::size_t>(i2d_ECDSA_SIG(pair.get(), nullptr)));
    unsigned char *to = der.data();
    i2d_ECDSA_SIG(pair.get(), &to);
    return der;
}

/// Of signatures by PKCS #1 v1.5 over digests of SHA-256, -384 and -512.
std::uint16_t bare_scheme(const bytes &digest) {
    return static_cast<std::uint16_t>(0x0401 + ((digest.size() - 32) / 16 << 8));
}

} // namespace

ClientCertificate::ClientCertificate(std::unique_ptr<ClientKey> key) : key_(std::move(key)) {
    const bytes &der = key_->certificates().front();
    const unsigned char *from = der.data();
    const kavro::OpenSslHandle<X509, X509_free> own(
        d2i_X509(nullptr, &from, static_cast<long>(der.size())));
    const EVP_PKEY *shown = own ? X509_get0_pubkey(own.get()) : nullptr;
    if (shown == nullptr)
        return;
    is_rsa_ = EVP_PKEY_get_base_id(shown) == EVP_PKEY_RSA;
    key_size_ = static_cast<std::size_t>(EVP_PKEY_get_bits(shown) + 7) / 8;
}

void ClientCertificate::use_in(kavro_broker::broker &broker) try {
    if (is_rsa_ && !key_->knows_pss())
        return broker.use_signing_certificate(
            key_->certificates().front(),
            [this](const bytes &digest) { return sign(bare_scheme(digest), digest); });
    broker.use_signing_key(
        pem_of(key_->certificates()),
        [this](std::uint16_t scheme, const bytes &digest) { return sign(scheme, digest); });
} catch (const kavro_broker::error &) {
    throw Failure(ExitStatus::usage, "CLIENT_CERTIFICATE",
                  "The client certificate cannot be used: its key is neither RSA nor EC over "
                  "P-256, P-384 or P-521.");
}

/// ECDSA takes as much of the digest as the key is long (FIPS 186-5 section 6.4.1); not every token
/// does so itself.
std::optional<bytes> ClientCertificate::sign(std::uint16_t scheme, bytes digest) {
    try {
        problem_.clear();
        if (!is_ecdsa(scheme))
            return key_->sign(scheme, digest);
        digest.resize(std::min(digest.size(), key_size_));
        return ecdsa_der(key_->sign(scheme, digest), key_size_);
    } catch (const std::exception &error) {
        problem_ = error.what();
        return std::nullopt;
    }
}

} // namespace kavro_cli
