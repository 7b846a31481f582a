#include "captured_log.h"
#include "kavro_broker_extras.h"
#include "minting.h"
#include "requests.h"
#include "scripted_peer.h"
#include "text_of.h"
#include "utils/src/system_trust.h"

#include <gtest/gtest.h>

#include <openssl/pem.h>
#include <openssl/sha.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

// Chains as servers show them over TLS, and what a caller of the library learns.

namespace trust {
namespace {

using namespace test_support;

constexpr kavro_broker_result trusted = KAVRO_BROKER_OK;
constexpr kavro_broker_result rejected = KAVRO_BROKER_ERR_CERTIFICATE_FAILED;
constexpr kavro_broker_result warnable = KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE;
constexpr kavro_broker_result no_tls = KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED;
constexpr kavro_broker_result nothing_there = KAVRO_BROKER_ERR_NOT_IMPLEMENTED;

constexpr const char *wrong_name = "the host name on the certificate is invalid";
constexpr const char *unverified_leaf = "unable to verify the first certificate";
constexpr const char *short_key = "the RSA key length on the certificate is less";

/// A handle that trusts those that all others trust, or everybody.
OwnedHandle new_client(bool verify = true) {
    OwnedHandle client = new_handle(std::chrono::seconds(30));
    kavro_broker_fail_if_unverified(client.get(), verify);
    return client;
}

kavro_broker_result ask(const OwnedHandle &client, const ScriptedPeer &peer) {
    set_port(client, peer.port());
    return ask_method(client.get());
}

/// Pins the key of a certificate in PEM.
void pin(const OwnedHandle &client, const std::string &pem) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> text(BIO_new_mem_buf(pem.data(), -1), BIO_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr), X509_free);
    std::array<std::uint8_t, SHA256_DIGEST_LENGTH> sha256{};
    unsigned char *info = nullptr;
    const int length = i2d_PUBKEY(X509_get0_pubkey(certificate.get()), &info);
    SHA256(info, static_cast<std::size_t>(length), sha256.data());
    OPENSSL_free(info);
    EXPECT_EQ(kavro_broker_add_key_pin(client.get(), sha256.data(), 31),
              KAVRO_BROKER_ERR_INVALID_PARAMETER);
    EXPECT_EQ(kavro_broker_add_key_pin(client.get(), sha256.data(), 32), KAVRO_BROKER_OK);
}

kavro_broker_result trust(const OwnedHandle &client, const std::vector<std::uint8_t> &der) {
    return kavro_broker_add_trust_anchor(client.get(), der.data(), der.size());
}

/// The verdicts by depth, as "9 0 0".
std::string verdicts(const OwnedHandle &client) {
    std::string all;
    uint32_t verdict = 0;
    for (uint32_t depth = 0;
         kavro_broker_get_certificate_error(client.get(), depth, &verdict) == KAVRO_BROKER_OK;
         ++depth)
        all += (depth == 0 ? "" : " ") + std::to_string(verdict);
    return all;
}

std::string error_text(const OwnedHandle &client) {
    return text_of(kavro_broker_get_certificate_error_text, client.get());
}

uint32_t chain_length(const OwnedHandle &client) {
    uint32_t count = 0;
    EXPECT_EQ(kavro_broker_get_num_certificates(client.get(), &count), KAVRO_BROKER_OK);
    return count;
}

/// The first certificate of the chain that was shown.
std::vector<std::uint8_t> leaf(const OwnedHandle &client) {
    std::vector<std::uint8_t> der(10'000);
    std::size_t length = 1;
    EXPECT_EQ(kavro_broker_get_broker_certificate(client.get(), 0, der.data(), &length),
              KAVRO_BROKER_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(kavro_broker_get_broker_certificate(client.get(), 0, der.data(), &length), 0);
    der.resize(length);
    return der;
}

struct Row {
    const char *name;
    ServerIdentity identity;
    kavro_broker_result result;
    std::string verdicts{}; ///< by depth
    const char *text = "";  ///< a part of the reason
    int max_version = 0;
    kavro_broker_result with_pin = result == warnable ? trusted : result; ///< of its own key
};

class ServedChains : public testing::Test {
protected:
    /// Whatever happened before, a good broker can be talked to.
    static void expect_usable(const OwnedHandle &client) {
        const ScriptedPeer peer({welcome()}, {shown(server(trusted_root()))});
        EXPECT_EQ(ask(client, peer), KAVRO_BROKER_OK);
    }

    /// Judged as the rows say, whatever the rows before were; not a byte reaches a peer that is not
    /// trusted; without verification all are served alike.
    static void expect_judged_as_said(const std::vector<Row> &rows) {
        const OwnedHandle client = new_client();
        for (const Row &row : rows) {
            SCOPED_TRACE(row.name);
            const PeerTls tls{.identity = row.identity, .max_version = row.max_version};
            const ScriptedPeer peer({welcome()}, tls);
            EXPECT_EQ(ask(client, peer), row.result);
            EXPECT_EQ(verdicts(client), row.verdicts);
            EXPECT_NE(error_text(client).find(row.text), std::string::npos) << error_text(client);
            EXPECT_EQ(error_text(client).empty(), row.verdicts.empty());
            if (row.result != trusted) {
                ASSERT_TRUE(peer.wait_for(0, [](const PeerRecord &seen) { return seen.closed; }));
                EXPECT_EQ(peer.record(0).received, "");
                EXPECT_EQ(peer.connection_count(), 1u);
                EXPECT_EQ(chain_length(client) > 0, row.result != no_tls);
            }
            expect_usable(client);

            const OwnedHandle unverified = new_client(false);
            EXPECT_EQ(ask(unverified, peer), row.result == no_tls ? no_tls : trusted);
            EXPECT_EQ(verdicts(unverified) + error_text(unverified), "");
            EXPECT_EQ(chain_length(unverified), 0u);
            expect_pinned_as_said(row, peer);
        }
    }

    /// A pin of another key refuses whatever else is said; one of this key excuses the issuer. A
    /// platform that does not know the chain's end changes nothing, and a status that is required
    /// makes nothing better.
    static void expect_pinned_as_said(const Row &row, const ScriptedPeer &peer) {
        const bool shakes_hands = row.result != no_tls;
        for (const bool verify : {true, false}) {
            const OwnedHandle client = new_client(verify);
            pin(client, strange_root().certificate_pem());
            EXPECT_EQ(ask(client, peer), shakes_hands ? rejected : no_tls);
            EXPECT_EQ(verdicts(client).substr(0, 2), shakes_hands ? "30" : "");
            pin(client, row.identity.certificate);
            EXPECT_EQ(ask(client, peer), verify || !shakes_hands ? row.with_pin : trusted);
            kavro_broker_clear_key_pins(client.get());
            EXPECT_EQ(kavro_broker_use_platform_verifier(client.get(), true),
                      kavro::platform_verifier() ? trusted : nothing_there);
            EXPECT_EQ(ask(client, peer), verify || !shakes_hands ? row.result : trusted);
            kavro_broker_require_stapled_status(client.get(), true); // there is none
            EXPECT_EQ(ask(client, peer), !shakes_hands ? no_tls : verify ? rejected : trusted);
        }
    }

    kavro::CapturedLog log_; // no handle is made without one
    TrustedCa trusted_;
};

} // namespace

TEST_F(ServedChains, TrustAndNames) {
    const Identity between = authority(trusted_root());
    const Identity strange = authority(strange_root());
    const Server past{.valid_from_days = -20, .valid_to_days = -10};
    const Server future{.valid_from_days = 10, .valid_to_days = 20};
    const Server elsewhere{.names = {"127.0.0.2"}};
    const ServerIdentity other_case = shown(server(self_signed({.common_name = "TEST SERVER"})));
    const ServerIdentity with_root = shown(server(strange_root()), {strange_root()});
    expect_judged_as_said({
        {"trusted root", trusted_server(), trusted},
        {"by an intermediate", shown(server(between), {between}), trusted},
        {"intermediate not sent", shown(server(between)), warnable, "14", unverified_leaf},
        {"unknown root", untrusted_server(), warnable, "14", unverified_leaf},
        {"unknown root above", shown(server(strange), {strange}), warnable, "0 29", "local issuer"},
        {"unknown root shown", with_root, warnable, "0 13", "self-signed certificate in"},
        {"unknown, expired", shown(server(strange, past), {strange}), rejected, "9 29", "expired"},
        {"expired", trusted_server(past), rejected, "9 0", "expired"},
        {"not yet valid", trusted_server(future), rejected, "8 0", "not yet"},
        {"wrong host", trusted_server(elsewhere), rejected, "28 0", wrong_name},
        {"self-signed", shown(self_signed()), warnable, "12", "self-signed"},
        {"self-signed, wrong host", shown(self_signed(elsewhere)), warnable, "12", "", 0, rejected},
        {"self-signed but for its case", other_case, rejected, "12", "self-signed"},
        {"self-signed, expired", shown(self_signed(past)), rejected, "9", "expired"},
    });
}

TEST_F(ServedChains, KeysSignaturesAndPurposes) {
    const auto with_key = [](const char *kind) { return trusted_server({.key = kind}); };
    const Identity ec = authority(trusted_root(), {.key = "ec-secp160r1"});
    const Identity no_authority =
        server(trusted_root(), {.key = "ec-p256", .extensions = {{NID_key_usage, "keyCertSign"}}});
    const Identity last = authority(
        trusted_root(), {.extensions = {{NID_basic_constraints, "critical,CA:TRUE,pathlen:0"}}});
    const Identity deep = authority(last);
    const ServerIdentity for_clients =
        trusted_server({.extensions = {{NID_ext_key_usage, "clientAuth"}}});
    const ServerIdentity by_none = shown(server(no_authority), {no_authority});
    const ServerIdentity too_deep = shown(server(deep), {deep, last});
    const ServerIdentity sha1 = trusted_server({.digest = "SHA1"});
    const ServerIdentity forged = shown(with_bad_signature(server(trusted_root())));
    expect_judged_as_said({
        {"RSA 1023", with_key("rsa-1023"), rejected, "27 0", short_key},
        {"RSA 1024", with_key("rsa-1024"), trusted},
        {"intermediate EC 160", shown(server(ec), {ec}), rejected, "0 27 0", short_key},
        {"SHA-1", sha1, rejected, "29 0", "digest"},
        {"bad signature", forged, rejected, "6 0", "signature failure"},
        {"P-256", with_key("ec-p256"), trusted},
        {"P-256, TLS 1.2", with_key("ec-p256"), no_tls, "", "", TLS1_2_VERSION},
        {"P-192", with_key("ec-prime192v1"), no_tls},
        {"for clients only", for_clients, rejected, "17 0", "purpose"},
        {"intermediate is no authority", by_none, rejected, "0 17 0", "purpose"},
        {"one intermediate too many", too_deep, rejected, "0 0 29 0", "path length"},
    });
}

TEST_F(ServedChains, HugeOnes) {
    const auto names = [](int count) {
        std::vector<std::string> all{literal_host};
        for (int i = 1; i < count; ++i)
            all.push_back("host" + std::to_string(i) + ".test");
        return shown(server(trusted_root(), {.names = all}));
    };
    const auto chain = [](int length) {
        std::vector<Identity> further{authority(trusted_root())};
        while (static_cast<int>(further.size()) < length)
            further.insert(further.begin(), authority(further.front()));
        return shown(server(further.front()), further);
    };
    expect_judged_as_said({
        {"thousands of names", names(5'000), trusted},
        {"more bytes of names than a handshake takes", names(10'000), no_tls},
        {"a long chain", chain(99), trusted},
        {"more bytes of chain than a handshake takes", chain(300), no_tls},
    });
}

TEST_F(ServedChains, SwitchingVerificationOnMakesAFullHandshake) {
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        const ScriptedPeer peer({welcome()}, {shown(self_signed()), version, version});
        const OwnedHandle client = new_client(false);
        EXPECT_EQ(ask(client, peer), KAVRO_BROKER_OK);
        kavro_broker_fail_if_unverified(client.get(), true);
        EXPECT_EQ(ask(client, peer), warnable);
        const std::size_t last = peer.connection_count() - 1;
        ASSERT_TRUE(peer.wait_for(last, [](const PeerRecord &seen) { return seen.closed; }));
        EXPECT_FALSE(peer.record(last).resumed);
        EXPECT_EQ(peer.record(last).received, "");
    }
}

TEST_F(ServedChains, AnchorOfAHandleCountsForThatHandleOnly) {
    const Identity own = self_signed();
    const ScriptedPeer strange({welcome()}, {untrusted_server()});
    const ScriptedPeer lone({welcome()}, {shown(own)});
    const OwnedHandle client = new_client();
    EXPECT_EQ(trust(client, {0x30, 0x03, 0x02, 0x01, 0x00}), KAVRO_BROKER_ERR_INVALID_PARAMETER);
    EXPECT_EQ(ask(client, strange), warnable);
    EXPECT_EQ(trust(client, der_of(strange_root())), KAVRO_BROKER_OK);
    EXPECT_EQ(ask(client, strange), trusted);
    EXPECT_EQ(ask(client, lone), warnable);
    EXPECT_EQ(leaf(client), der_of(own));
    EXPECT_EQ(trust(client, der_of(own)), KAVRO_BROKER_OK);
    for (const ScriptedPeer *peer : {&strange, &lone})
        EXPECT_EQ(ask(client, *peer), trusted);
    // The system's anchors still count, even those of the same name.
    EXPECT_EQ(trust(client, der_of(broker_sim::mint_authority("Trusted root"))), KAVRO_BROKER_OK);
    expect_usable(client);

    const OwnedHandle another = new_client();
    for (const ScriptedPeer *peer : {&strange, &lone})
        EXPECT_EQ(ask(another, *peer), warnable);
}

} // namespace trust
