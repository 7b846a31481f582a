#include "captured_log.h"
#include "kavro_broker_extras.h"
#include "requests.h"
#include "scripted_peer.h"
#include "staple.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

// What servers show of their certificate's revocation, and what becomes of the connection.

namespace trust {
namespace {

using namespace test_support;

/// Another second of the time at which it was made, which counts for nothing else.
std::string forged(std::string bytes) {
    const std::string generalized_time = "\x18\x0f";
    char &last_digit =
        bytes.at(bytes.find(generalized_time) + 2 + std::strlen("20261122083911") - 1);
    last_digit = static_cast<char>(last_digit ^ 1);
    return bytes;
}

enum class Counts { as_good, as_revoked, as_none };

/// What a server shows with a certificate of that issuer's.
struct Row {
    const char *name;
    std::function<std::string(const Identity &leaf)> staple;
    Counts counts = Counts::as_none;
};

/// The result and the first verdict, as "300 31".
std::string asked(const ServerIdentity &shown, const std::string &staple, bool require,
                  int max_version = 0) {
    const ScriptedPeer peer({welcome()},
                            {.identity = shown, .max_version = max_version, .staple = staple});
    const OwnedHandle client = new_handle(std::chrono::seconds(30), peer.port());
    kavro_broker_require_stapled_status(client.get(), require);
    const kavro_broker_result result = ask_method(client.get());
    uint32_t verdict = 0;
    kavro_broker_get_certificate_error(client.get(), 0, &verdict);
    EXPECT_EQ(peer.record(0).received.empty(), result != KAVRO_BROKER_OK);
    return std::to_string(result) + (verdict == 0 ? "" : " " + std::to_string(verdict));
}

class StapledStatus : public testing::Test {
protected:
    kavro::CapturedLog log_; // no handle is made without one
    TrustedCa trusted_{trusted_root().certificate_pem()};
    const Identity &issuer_ = trusted_root();
    const Identity leaf_ = server(issuer_);
};

} // namespace

TEST_F(StapledStatus, CountsWhenTheIssuerSaysItOfThisCertificateNow) {
    const Identity other = server(issuer_, {.common_name = "Another"});
    const Identity delegate = server(
        issuer_, {.extensions = {{NID_ext_key_usage, "OCSPSigning"}}, .common_name = "Delegate"});
    const Identity must_staple =
        server(issuer_, {.extensions = {{NID_tlsfeature, "status_request"}}});
    constexpr int revoked = V_OCSP_CERTSTATUS_REVOKED;
    const auto say = [&](const Identity &signer, const Status &status) {
        return [this, &signer, status](const Identity &leaf) {
            return staple(leaf, issuer_, signer, status);
        };
    };
    const auto always = [](const std::string &bytes) {
        return [bytes](const Identity &) { return bytes; };
    };
    const std::vector<Row> rows = {
        {"good", say(issuer_, {}), Counts::as_good},
        {"good, by a delegate", say(delegate, {}), Counts::as_good},
        {"good, named by SHA-256", say(issuer_, {.named_by = EVP_sha256()}), Counts::as_good},
        {"of today", say(issuer_, {.until = 0}), Counts::as_good},
        {"revoked", say(issuer_, {.status = revoked}), Counts::as_revoked},
        {"revoked, by a delegate", say(delegate, {.status = revoked}), Counts::as_revoked},
        {"unknown", say(issuer_, {.status = V_OCSP_CERTSTATUS_UNKNOWN})},
        {"out of date", say(issuer_, {.status = revoked, .until = -hour / 2})},
        {"of yesterday", say(issuer_, {.status = revoked, .from = -25 * hour, .until = 0})},
        {"from the future", say(issuer_, {.status = revoked, .from = hour, .until = 2 * hour})},
        {"by somebody without the purpose", say(other, {.status = revoked})},
        {"by a stranger", say(strange_root(), {.status = revoked})},
        {"for another certificate", always(staple(other, issuer_, issuer_, {.status = revoked}))},
        {"forged",
         [&](const Identity &leaf) {
             return forged(staple(leaf, issuer_, issuer_, {.status = revoked}));
         }},
        {"try later", always("\x30\x03\x0a\x01\x03")},
        {"no DER", always("\x30\x84\xff")},
        {"none", always("")},
    };
    for (const Row &row : rows) {
        const std::string allowed = row.counts == Counts::as_revoked ? "300 31" : "0";
        const std::string demanded = row.counts == Counts::as_none ? "300 32" : allowed;
        for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
            SCOPED_TRACE(row.name);
            const std::string shown_status = row.staple(leaf_);
            EXPECT_EQ(asked(shown(leaf_), shown_status, false, version), allowed);
            EXPECT_EQ(asked(shown(leaf_), shown_status, true, version), demanded);
            EXPECT_EQ(asked(shown(must_staple), row.staple(must_staple), false, version), demanded);
        }
    }
}

TEST_F(StapledStatus, OfAnIssuerThatIsNotTrustedSaysNothing) {
    const Identity strange = server(strange_root());
    const std::string revoked =
        staple(strange, strange_root(), strange_root(), {.status = V_OCSP_CERTSTATUS_REVOKED});
    EXPECT_EQ(asked(shown(strange), revoked, false), "301 14");
    EXPECT_EQ(asked(shown(strange), revoked, true), "300 32");
}

TEST_F(StapledStatus, OfTenMegabytesEndsTheHandshake) {
    EXPECT_EQ(asked(shown(leaf_), std::string(10'000'000, '0'), false, TLS1_2_VERSION), "203");
}

} // namespace trust
