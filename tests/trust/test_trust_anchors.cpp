#include "captured_log.h"
#include "minting.h"

#include "trust/trust_store.h"
#include "utils/src/openssl_handles.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace trust {
namespace {

using namespace kavro;
using namespace test_support;

using Der = std::vector<std::uint8_t>;

const std::string setter = "HttpsXmlClient::setCertificateExtractor(): ";

/// An extractor as careless as a caller's may be.
struct Anchors {
    std::vector<Der> certificates;
    int count = static_cast<int>(certificates.size());
    std::vector<int> sizes{}; ///< instead of the true ones
    int fails_at = -1;        ///< the one that cannot be copied

    CertificateExtractor extractor() const {
        return {[this] { return count; },
                [this](int index) {
                    const auto place = static_cast<std::size_t>(index);
                    if (place < sizes.size())
                        return sizes[place];
                    return place < certificates.size()
                               ? static_cast<int>(certificates[place].size())
                               : -1;
                },
                [this](int index, std::uint8_t *der) {
                    const Der &certificate = certificates.at(static_cast<std::size_t>(index));
                    std::copy(certificate.begin(), certificate.end(), der);
                    return index != fails_at;
                }};
    }
};

/// Serial numbers and signatures differ in length.
Der of_size(std::size_t wanted) {
    for (std::string comment(wanted, 'x');;) {
        const Der der =
            der_of(server(trusted_root(), {.extensions = {{NID_netscape_comment, comment}}}));
        if (der.size() == wanted)
            return der;
        comment.resize(comment.size() + wanted - der.size());
    }
}

} // namespace

TEST(TrustAnchors, UselessOnesAreLeftOut) {
    const Der first = der_of(trusted_root());
    const Der second = der_of(strange_root());
    const Der cut(first.begin(), first.end() - 1);
    Der longer = first;
    longer.push_back(0);
    constexpr std::size_t most = 1024 * 1024;
    const struct {
        const char *name;
        Anchors anchors;
        std::size_t added;
    } cases[] = {
        {"all good", {{first, second}}, 2},
        {"none", {{}}, 0},
        {"negative count", {.certificates = {first}, .count = -1}, 0},
        {"huge count", {.certificates = {first, second}, .count = INT_MAX}, 2},
        {"negative size", {.certificates = {first, second}, .sizes = {-1}}, 1},
        {"no size", {.certificates = {first, second}, .sizes = {0}}, 1},
        {"huge size", {.certificates = {first, second}, .sizes = {INT_MAX}}, 1},
        {"a mebibyte", {{of_size(most), second}}, 2},
        {"over a mebibyte", {{of_size(most + 1), second}}, 1},
        {"bad DER", {{{1, 2, 3}, second}}, 1},
        {"cut off", {{cut, second}}, 1},
        {"more than a certificate", {{longer, second}}, 1},
        {"twice", {{first, second, first}}, 2},
        {"copy fails", {.certificates = {first, second}, .fails_at = 1}, 1},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.name);
        const CapturedLog log;
        EXPECT_EQ(extract_certificates(row.anchors.extractor()).own.size(), row.added);
        EXPECT_EQ(CapturedLog::lines().back().text, setter + std::to_string(row.added) + " of " +
                                                        std::to_string(row.anchors.count) +
                                                        " certificates added successfully.");
    }
    EXPECT_TRUE(extract_certificates({}).own.empty());
}

TEST(TrustAnchors, EachIsLogged) {
    const CapturedLog log;
    const Der root = der_of(trusted_root());
    extract_certificates(Anchors{{root, root}}.extractor());
    const auto *serial = X509_get0_serialNumber(trusted_root().certificate.get());
    const OpenSslText digits(BN_bn2hex(BignumHandle(ASN1_INTEGER_to_BN(serial, nullptr)).get()));
    const std::string names = " subject '/CN=Trusted root', issuer '/CN=Trusted root', serial '" +
                              std::string(digits.get()) + "'.";
    EXPECT_EQ(
        CapturedLog::lines(),
        (std::vector<LogLine>{{0, 4, 0, setter + "added" + names},
                              {0, 3, -500, setter + "COULDN'T add" + names},
                              {0, 3, 0, setter + "1 of 2 certificates added successfully."}}));
}

TEST(TrustAnchors, SystemsAreReadAgainOnlyWhenTheyChanged) {
    namespace fs = std::filesystem;
    const TrustedCa trusted;
    const fs::path bundle = std::getenv(X509_get_default_cert_file_env());
    kavro::TrustAnchors anchors;
    const Identity own = self_signed();
    anchors.own.emplace_back(X509_dup(own.certificate.get()));
    TrustStore plain;
    TrustStore with_own(std::move(anchors));
    for (TrustStore *store : {&plain, &with_own}) {
        std::ofstream(bundle, std::ios::binary) << trusted_root().certificate_pem();
        const X509StoreHandle first = store->current();
        EXPECT_EQ(store->current(), first);
        EXPECT_TRUE(trusts(first.get(), trusted_root()));
        EXPECT_FALSE(trusts(first.get(), strange_root()));

        const auto moment = fs::last_write_time(bundle);
        std::ofstream(bundle, std::ios::binary | std::ios::app) << strange_root().certificate_pem();
        fs::last_write_time(bundle, moment); // which is too short for the clock
        const X509StoreHandle second = store->current();
        EXPECT_EQ(store->current(), second);
        EXPECT_TRUE(trusts(second.get(), trusted_root()));
        EXPECT_TRUE(trusts(second.get(), strange_root()));

        fs::last_write_time(bundle, fs::last_write_time(bundle) + std::chrono::hours(1));
        const X509StoreHandle third = store->current();
        EXPECT_NE(third, second);

        fs::remove(bundle);
        const X509StoreHandle fourth = store->current();
        EXPECT_FALSE(trusts(fourth.get(), trusted_root()));
        EXPECT_EQ(trusts(fourth.get(), own), store == &with_own);
    }
}

TEST(TrustAnchors, ThoseOfTheSystemCountOnlyOnTheWayToARoot) {
    const TrustedCa nobody("");
    const Identity issuer = authority(strange_root());
    const Identity leaf = server(issuer);
    const struct {
        const char *what;
        std::vector<Identity> of_system;
        std::vector<Identity> own;
        bool trusted;
    } cases[] = {
        {"an issuer", {issuer}, {}, false},
        {"an issuer and its root", {issuer, strange_root()}, {}, true},
        {"an issuer, beside a caller's other", {issuer}, {trusted_root()}, false},
        {"both, beside a caller's other", {issuer, strange_root()}, {trusted_root()}, false},
        {"a root, and the issuer is the caller's", {strange_root()}, {issuer}, true},
        {"the issuer is the caller's", {}, {issuer}, true},
    };
    const auto copied = [](const std::vector<Identity> &identities) {
        std::vector<X509Handle> certificates;
        for (const Identity &identity : identities)
            certificates.emplace_back(X509_dup(identity.certificate.get()));
        return certificates;
    };
    for (const auto &row : cases) {
        TrustStore store({copied(row.of_system), copied(row.own)});
        EXPECT_EQ(trusts(store.current().get(), leaf), row.trusted) << row.what;
    }
    const TrustedCa listed(strange_root().certificate_pem());
    TrustStore with_namesake({copied({broker_sim::mint_authority("Strange root")}), {}});
    EXPECT_TRUE(trusts(with_namesake.current().get(), server(strange_root())));
}

} // namespace trust
