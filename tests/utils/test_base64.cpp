#include "utils/src/base64.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <random>

namespace kavro {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::string encoded(const Bytes &bytes) {
    std::string text(bytes.size() / 3 * 4 + 5, '\0');
    text.resize(
        static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()),
                                                 bytes.data(), static_cast<int>(bytes.size()))));
    return text;
}

TEST(Base64, ReadsWhatOpenSslWritesHoweverItIsBroken) {
    std::mt19937 random(20240817);
    for (std::size_t size = 0; size < 200; ++size) {
        Bytes bytes(size);
        for (auto &byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        std::string text = encoded(bytes);
        ASSERT_EQ(decode_base64(text), bytes) << text;
        for (auto breaks = random() % 4; breaks > 0; --breaks)
            text.insert(random() % (text.size() + 1), random() % 2 == 0 ? "\r\n" : " ");
        ASSERT_EQ(decode_base64(text), bytes) << text;
    }
}

TEST(Base64, RefusesWhatIsNone) {
    for (const char *text : {"A", "AA", "AAA", "AAAA=", "AA=", "A===", "====", "AA=A", "AA==AAAA",
                             "AAAAA", "AA-A", "AAAA\x80", "AAA%"})
        EXPECT_FALSE(decode_base64(text)) << text;
}

} // namespace
} // namespace kavro
