#include "utils/src/cert_chain.h"

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>
#include <string>

namespace kavro::Security {
namespace {

using Der = cX509_CERT_CHAIN::Der;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

/// A self-signed certificate with this serial number.
Certificate mint(int serial) {
    EVP_PKEY *key = nullptr;
    EVP_PKEY_CTX *generator = EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr);
    EVP_PKEY_keygen_init(generator);
    EVP_PKEY_keygen(generator, &key);
    EVP_PKEY_CTX_free(generator);

    Certificate certificate(X509_new(), X509_free);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 60);
    X509_set_pubkey(certificate.get(), key);
    X509_sign(certificate.get(), key, nullptr);
    EVP_PKEY_free(key);
    return certificate;
}

Der der_of(X509 *certificate) {
    uint8_t *bytes = nullptr;
    const int length = i2d_X509(certificate, &bytes);
    Der der(bytes, bytes + length);
    OPENSSL_free(bytes);
    return der;
}

std::string pem_of(X509 *certificate) {
    BIO *text = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(text, certificate);
    char *bytes = nullptr;
    const auto length = static_cast<std::size_t>(BIO_get_mem_data(text, &bytes));
    std::string pem(bytes, length);
    BIO_free(text);
    return pem;
}

TEST(CertChain, GrowsToTheDepthThatIsSet) {
    const Certificate first = mint(1);
    const Certificate second = mint(2);
    cX509_CERT_CHAIN chain;
    chain.set_cert(3, first.get());
    EXPECT_EQ(chain.entries(), (std::vector<Der>{{}, {}, {}, der_of(first.get())}));
    chain.set_cert(1, pem_of(second.get()));
    chain.set_cert(3, second.get());
    EXPECT_EQ(chain.entries(),
              (std::vector<Der>{{}, der_of(second.get()), {}, der_of(second.get())}));
    chain.set_der(0, {1, 2});
    chain.append_der({3});
    EXPECT_EQ(chain.entries(),
              (std::vector<Der>{{1, 2}, der_of(second.get()), {}, der_of(second.get()), {3}}));
}

TEST(CertChain, TextThatIsNoCertificateStoresNothing) {
    std::string truncated = pem_of(mint(1).get());
    truncated.resize(truncated.size() / 2);
    const std::string encrypted = "-----BEGIN CERTIFICATE-----\nProc-Type: 4,ENCRYPTED\n"
                                  "DEK-Info: AES-128-CBC,000102030405060708090A0B0C0D0E0F\n\n"
                                  "AAAAAAAAAAAAAAAAAAAAAA==\n-----END CERTIFICATE-----\n";
    for (const std::string &text :
         {std::string(), std::string("certificate"), truncated, encrypted,
          std::string("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n")}) {
        cX509_CERT_CHAIN chain;
        EXPECT_FALSE(chain.set_cert(0, text)) << text;
        EXPECT_EQ(chain.size(), 0u) << text;
        EXPECT_EQ(ERR_peek_error(), 0u) << text;
    }
    EXPECT_FALSE(cX509_CERT_CHAIN().set_cert(0, std::string_view()));
}

TEST(CertChain, CopiesOutWhatFits) {
    cX509_CERT_CHAIN chain;
    chain.set_der(1, {1, 2, 3});
    const struct {
        std::size_t index;
        std::size_t space;
        bool with_buffer;
        bool copied;
        std::size_t length;
        Der buffer;
    } rows[] = {
        {1, 0, false, true, 3, {9, 9, 9, 9}},  {1, 3, true, true, 3, {1, 2, 3, 9}},
        {1, 4, true, true, 3, {1, 2, 3, 9}},   {1, 2, true, false, 3, {9, 9, 9, 9}},
        {0, 4, true, true, 0, {9, 9, 9, 9}},   {2, 4, true, false, 4, {9, 9, 9, 9}},
        {2, 4, false, false, 4, {9, 9, 9, 9}},
    };
    for (const auto &row : rows) {
        Der buffer(4, 9);
        std::size_t length = row.space;
        EXPECT_EQ(chain.copy_der(row.index, row.with_buffer ? buffer.data() : nullptr, length),
                  row.copied)
            << &row - rows;
        EXPECT_EQ(length, row.length) << &row - rows;
        EXPECT_EQ(buffer, row.buffer) << &row - rows;
    }
}

} // namespace
} // namespace kavro::Security
