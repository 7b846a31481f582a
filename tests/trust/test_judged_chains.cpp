#include "captured_log.h"
#include "chains.h"

#include "trust/server_verification.h"
#include "utils/src/cert_chain.h"

#include <gtest/gtest.h>

#include <openssl/x509v3.h>

#include <algorithm>

// Chains judged without a connection: names that no resolver knows, and the words of the log.

namespace trust {
namespace {

using kavro::CapturedLog;
using kavro::LogLine;
using enum kavro::VerificationOutcome;

Judged judge_server(const Identity &leaf, const std::string &host, bool by_view_rules = false) {
    return judge({.trusted = {trusted_root().certificate},
                  .leaf = leaf.certificate,
                  .further = {},
                  .host = host,
                  .by_view_rules = by_view_rules});
}

Identity server_for(const std::string &name) {
    return server(trusted_root(),
                  {.names = {}, .extensions = {{NID_subject_alt_name, "DNS:" + name}}});
}

/// The usual way to write a certificate does not let a NUL into a name.
Identity server_for_name_with_nul(std::string name, std::size_t place) {
    const Identity plain = server_for(name);
    std::vector<std::uint8_t> der = der_of(plain);
    const auto found = std::search(der.begin(), der.end(), name.begin(), name.end());
    found[static_cast<std::ptrdiff_t>(place)] = 0;
    const broker_sim::CertificatePtr changed(kavro::Security::decode_certificate(der).release(),
                                             X509_free);
    X509_sign(changed.get(), trusted_root().key.get(), EVP_sha256());
    return {plain.key, changed};
}

} // namespace

TEST(JudgedChains, NamesThatFitTheHost) {
    const struct {
        const char *name;
        const char *host;
        bool fits;
    } cases[] = {
        {"bar.test", "bar.test", true},          {"BAR.Test", "bar.test", true},
        {"*.bar.test", "foo.bar.test", true},    {"*.bar.test", "bar.test", false},
        {"*.bar.test", "a.foo.bar.test", false}, {"*.test", "bar.test", false},
        {"foo.*.test", "foo.bar.test", false},   {"*", "bar.test", false},
        {"*.*.test", "foo.bar.test", false},     {"bar.test.", "bar.test", false},
        {"bar.test", "foobar.test", false},      {"fo*.bar.test", "foo.bar.test", false},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(std::string(row.name) + " for " + row.host);
        const Judged judged = judge_server(server_for(row.name), row.host);
        EXPECT_EQ(judged.outcome, row.fits ? passed : failed);
        EXPECT_EQ(judged.codes, (std::vector<std::uint32_t>{row.fits ? 0u : 28u, 0u}));
    }
    const Identity cut = server_for_name_with_nul("bar.test.evil.test", 8);
    for (const char *host : {"bar.test", "bar.test.evil.test"})
        EXPECT_EQ(judge_server(cut, host).outcome, failed);
    EXPECT_EQ(judge_server(server(trusted_root(), {.names = {"::1"}}), "::1").outcome, passed);
    const Server by_common_name{.names = {}, .common_name = "bar.test"};
    EXPECT_EQ(judge_server(server(trusted_root(), by_common_name), "bar.test").outcome, passed);
    const Server beside_address{.common_name = "bar.test"};
    EXPECT_EQ(judge_server(server(trusted_root(), beside_address), "bar.test").outcome, failed);
}

// As when the TLS library takes up an earlier session.
TEST(JudgedChains, NoneAtAllIsNotTrusted) {
    kavro::ServerVerification verification;
    verification.begin(literal_host, true);
    EXPECT_EQ(verification.outcome(), failed);
    const Judged before = judge_server(server(trusted_root()), literal_host);
    EXPECT_EQ(before.outcome, passed);
    EXPECT_EQ(before.next_outcome, failed);
}

TEST(JudgedChains, ViewBrokersNeedRsaKeysInTheWholeChain) {
    EXPECT_EQ(judge_server(server(trusted_root()), literal_host, true).codes,
              (std::vector<std::uint32_t>{0, 27})); // the root has an EC key
    const Identity root = broker_sim::mint_self_signed(
        {.common_name = "RSA root", .authority = true}, broker_sim::shared_key("rsa-1024"));
    const Identity leaf = server(root);
    const ChainCase rsa_only{.trusted = {root.certificate},
                             .leaf = leaf.certificate,
                             .further = {},
                             .host = literal_host,
                             .by_view_rules = true};
    EXPECT_EQ(judge(rsa_only).outcome, passed);
}

TEST(JudgedChains, LogTellsOfKeys) {
    constexpr int info = 2, verbose = 4;
    const struct {
        const char *key;
        LogLine line;
    } cases[] = {
        {"rsa-1023", {0, info, -500, "Certificate invalid: RSA key length=1023 < MIN 1024"}},
        {"rsa-1024", {0, verbose, 0, "Valid certificate RSA key length=1024"}},
        {"ec-secp160r1", {0, info, -500, "Certificate invalid: EC key length=160 < MIN 163"}},
        {"ec-sect163r1", {0, verbose, 0, "Valid certificate EC key length=163"}},
        {"ec-p256", {0, verbose, 0, "Valid certificate EC key length=256"}},
        {"ed25519", {0, info, -500, "Unknown key type: 1087"}},
    };
    for (const auto &row : cases) {
        const CapturedLog log;
        judge_server(server(trusted_root(), {.key = row.key}), literal_host);
        EXPECT_TRUE(std::ranges::count(CapturedLog::lines(), row.line)) << row.line;
    }
}

} // namespace trust
