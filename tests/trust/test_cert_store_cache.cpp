#include "minting.h"
#include "temporary_home.h"

#include "utils/src/cert_store_cache.h"
#include "utils/src/safe_file.h"

#include <gtest/gtest.h>

namespace trust {
namespace {

using namespace kavro;
using namespace test_support;
using namespace std::string_literals;
using enum StoredCertificate;

constexpr std::size_t any_size = 1'000'000;

X509 *first() {
    return trusted_root().certificate.get();
}

X509 *second() {
    return strange_root().certificate.get();
}

std::string fingerprint(X509 *certificate) {
    std::string digest(20, '\0');
    X509_digest(certificate, EVP_sha1(), reinterpret_cast<unsigned char *>(digest.data()), nullptr);
    return digest;
}

std::string entry(const std::string &host, char accepted, const std::string &digest) {
    return std::string{static_cast<char>(host.size()), 0, 0, 0} + host +
           std::string{accepted, 0, 0, 0} + std::string{static_cast<char>(digest.size()), 0, 0, 0} +
           digest;
}

const std::string zero = "\0\0\0\0"s;
const std::string two = "\2\0\0\0"s;
const std::string most = "\xFF\xFF\xFF\xFF"s;

class CertStoreCacheTest : public testing::Test {
protected:
    CertStoreCache loaded(const std::string &content) const {
        EXPECT_FALSE(replace_file(path(), content));
        CertStoreCache cache;
        cache.load();
        return cache;
    }
    std::string path() const { return (home_.folder() / ".cert_store").string(); }

    test_support::TemporaryHome home_;
};

} // namespace

TEST_F(CertStoreCacheTest, FileIsByteExact) {
    const std::string content =
        two + entry("a.test", 1, fingerprint(first())) + entry("b.test", 0, fingerprint(second()));
    CertStoreCache cache;
    cache.load();
    EXPECT_EQ(cache.lookup("a.test", first()), none);
    cache.store("b.test", second(), false);
    cache.store("a.test", second(), false);
    cache.store("a.test", first(), true);
    cache.save();
    EXPECT_EQ(read_plain_file(path(), any_size), content);

    const CertStoreCache again = loaded(content);
    EXPECT_EQ(again.lookup("a.test", first()), same);
    EXPECT_EQ(again.lookup("a.test", second()), other_accepted);
    EXPECT_EQ(again.lookup("b.test", first()), other_not_accepted);
    EXPECT_EQ(again.lookup("b.test", second()), same);
    EXPECT_EQ(again.lookup("c.test", first()), none);
    again.save();
    EXPECT_EQ(read_plain_file(path(), any_size), content);
}

TEST_F(CertStoreCacheTest, DamagedFileIsReadAsFarAsItIsWhole) {
    const std::string a = entry("a", 1, fingerprint(first()));
    const std::string b = entry("b", 0, fingerprint(first()));
    const std::string with_nul = entry("a\0x"s, 0, fingerprint(first()));
    const std::string too_long = entry("a", 1, std::string(65, 'x'));
    const std::string longest = entry("a", 1, std::string(64, 'x'));
    const struct {
        const char *name;
        std::string content;
        StoredCertificate a, b;
    } cases[] = {
        {"empty", "", none, none},
        {"no entries counted", zero + a, none, none},
        {"more entries counted than there are", most + a + b, same, same},
        {"host length", two + most + "a", none, none},
        {"host length after an entry", two + a + most + "b", same, none},
        {"fingerprint length", two + a + "\1\0\0\0b"s + zero + most + "x", same, none},
        {"longest fingerprint", two + longest + b, other_accepted, same},
        {"fingerprint too long", two + too_long + b, none, same},
        {"no fingerprint", two + entry("a", 1, "") + b, other_accepted, same},
        {"accepted is 1 and nothing else", two + entry("a", 2, "x") + b, other_not_accepted, same},
        {"a host twice: the last counts", two + entry("a", 1, "x") + a, same, none},
        {"NUL in a host", two + with_nul + b, none, same},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.name);
        const CertStoreCache cache = loaded(row.content);
        EXPECT_EQ(cache.lookup("a", first()), row.a);
        EXPECT_EQ(cache.lookup("b", first()), row.b);
    }
    const std::string whole = two + a + b;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const CertStoreCache cache = loaded(whole.substr(0, length));
        const bool has_a = length >= two.size() + a.size();
        EXPECT_EQ(cache.lookup("a", first()), has_a ? same : none) << length;
        EXPECT_EQ(cache.lookup("b", first()), none) << length;
    }
}

TEST_F(CertStoreCacheTest, FileIsWhereHomeSays) {
    const std::pair<const char *, const char *> rows[] = {
        {nullptr, ".cert_store"}, {"", "/.cert_store"}, {"/some/where", "/some/where/.cert_store"}};
    for (const auto &[home, file] : rows) {
        home_.set(home);
        EXPECT_EQ(CertStoreCache::default_path(), file);
    }
}

} // namespace trust
