#include "minting.h"
#include "utils/src/cert_chain.h"

#include <gtest/gtest.h>

namespace trust {

using namespace test_support;
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

TEST(CertChain, CopiesOutWhatFits) {
    cX509_CERT_CHAIN chain;
    chain.set_der(1, {1, 2, 3});
    const Der untouched{9, 9, 9, 9}, copied{1, 2, 3, 9};
    const struct {
        std::size_t index, space;
        bool fits;
        std::size_t length;
        Der buffer;
    } rows[] = {
        {1, 3, true, 3, copied},    {1, 4, true, 3, copied},     {1, 2, false, 3, untouched},
        {0, 4, true, 0, untouched}, {2, 4, false, 4, untouched},
    };
    for (const auto &row : rows) {
        Der buffer = untouched;
        std::size_t length = row.space;
        EXPECT_EQ(chain.copy_der(row.index, buffer.data(), length), row.fits) << &row - rows;
        EXPECT_EQ(length, row.length) << &row - rows;
        EXPECT_EQ(buffer, row.buffer) << &row - rows;
    }
    std::size_t length = 0;
    EXPECT_TRUE(chain.copy_der(1, nullptr, length));
    EXPECT_EQ(length, 3u);
}

} // namespace
} // namespace trust
