#include "chains.h"
#include "utils/src/cert_chain.h"

#include <gtest/gtest.h>

#include <openssl/err.h>

namespace trust {
namespace {

using kavro::Security::cX509_CERT_CHAIN;
using Der = cX509_CERT_CHAIN::Der;

TEST(CertChain, GrowsToTheDepthThatIsSet) {
    const Der first = der_of(trusted_root());
    const Der second = der_of(strange_root());
    cX509_CERT_CHAIN chain;
    chain.set_cert(3, trusted_root().certificate.get());
    EXPECT_EQ(chain.entries(), (std::vector<Der>{{}, {}, {}, first}));
    chain.set_cert(1, strange_root().certificate_pem());
    chain.set_cert(3, strange_root().certificate.get());
    chain.set_der(0, {1, 2});
    chain.append_der({3});
    EXPECT_EQ(chain.entries(), (std::vector<Der>{{1, 2}, second, {}, second, {3}}));
}

TEST(CertChain, TextThatIsNoCertificateStoresNothing) {
    std::string truncated = trusted_root().certificate_pem();
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
} // namespace trust
