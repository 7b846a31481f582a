#include "minting.h"
#include "temporary_home.h"
#include "transport/io_client.h"

#include "trust/host_name.h"
#include "trust/key_length.h"
#include "trust/server_verification.h"
#include "utils/src/cert_chain.h"
#include "utils/src/openssl_handles.h"

#include <openssl/x509v3.h>

#include <stdexcept>

// What is looked at in a certificate besides the TLS library's own verdict, and whose word counts.

namespace trust {
namespace {

using namespace kavro;
using namespace test_support;
using enum VerificationOutcome;

/// A certificate as the TLS library hands it out for judgement.
class Judged {
public:
    explicit Judged(const Identity &identity, int depth = 0, int error = X509_V_OK)
        : certificate_(identity.certificate) {
        X509_STORE_CTX_set_current_cert(context_.get(), certificate_.get());
        X509_STORE_CTX_set_error_depth(context_.get(), depth);
        X509_STORE_CTX_set_error(context_.get(), error);
    }
    operator X509_STORE_CTX *() const { return context_.get(); }

private:
    broker_sim::CertificatePtr certificate_;
    OpenSslHandle<X509_STORE_CTX, X509_STORE_CTX_free> context_{X509_STORE_CTX_new()};
};

Identity server_for(const std::string &name) {
    return server(trusted_root(),
                  {.names = {}, .extensions = {{NID_subject_alt_name, "DNS:" + name}}});
}

/// The usual way to write a certificate does not let a NUL into a name.
Identity server_for_name_with_nul(const std::string &name, std::ptrdiff_t place) {
    std::vector<std::uint8_t> der = der_of(server_for(name));
    std::search(der.begin(), der.end(), name.begin(), name.end())[place] = 0;
    return {nullptr, {Security::decode_certificate(der).release(), X509_free}};
}

/// Says what it is told to, and remembers whether it was asked.
struct FakeVerifier final : ICertVerifier {
    enum class Answer { no, yes, throws };

    FakeVerifier(Answer to_verify, Answer to_add) : on_verify(to_verify), on_add(to_add) {}

    bool verify(X509 *) override { return answer(on_verify, asked); }
    bool add(X509 *) override { return answer(on_add, added); }

    static bool answer(Answer answer, bool &called) {
        called = true;
        if (answer == Answer::throws)
            throw std::runtime_error("verifier");
        return answer == Answer::yes;
    }

    Answer on_verify, on_add;
    bool asked = false, added = false;
};

/// A connection that is judged with these in mind.
ConnectResult connect_to(HttpsXmlClient &client, const Identity &identity, bool by_view_rules) {
    const ScriptedPeer peer({{handshake()}}, {shown(identity)});
    const auto outcome = drive<ConnectResult>(client, [&](auto handler) {
        client.connect(peer.address(), true, handler, ample, {}, by_view_rules);
    });
    client.disconnect();
    return outcome.result;
}

} // namespace

TEST(FitsHost, ByTheNamesOfTheServersOwnCertificate) {
    const Identity bar = server_for("bar.test");
    const Identity star = server_for("*.bar.test");
    const Identity cut = server_for_name_with_nul("bar.test.evil.test", 8);
    const auto by_common_name = [](const std::string &name) {
        return server(trusted_root(), {.names = {}, .common_name = name});
    };
    const Server beside_address{.common_name = "bar.test"};
    const struct {
        const char *what;
        Identity identity;
        const char *host;
        bool fits;
        int depth = 0;
    } rows[] = {
        {"equal", bar, "bar.test", true},
        {"but for case", server_for("BAR.Test"), "bar.test", true},
        {"longer host", bar, "foobar.test", false},
        {"dot at the end", server_for("bar.test."), "bar.test", false},
        {"star", star, "foo.bar.test", true},
        {"star for none", star, "bar.test", false},
        {"star for two", star, "a.foo.bar.test", false},
        {"star for a domain", server_for("*.test"), "bar.test", false},
        {"star within", server_for("foo.*.test"), "foo.bar.test", false},
        {"star alone", server_for("*"), "bar.test", false},
        {"two stars", server_for("*.*.test"), "foo.bar.test", false},
        {"part of a label", server_for("fo*.bar.test"), "foo.bar.test", false},
        {"cut by a NUL", cut, "bar.test", false},
        {"beyond the NUL", cut, "bar.test.evil.test", false},
        {"IPv6", server(trusted_root(), {.names = {"::1"}}), "::1", true},
        {"common name", by_common_name("bar.test"), "bar.test", true},
        {"address as one", by_common_name(literal_host), literal_host.c_str(), false},
        {"address as a name", server_for(literal_host), literal_host.c_str(), false},
        {"beside an address", server(trusted_root(), beside_address), "bar.test", false},
        {"not the server's", bar, "foo.test", true, 1},
    };
    for (const auto &row : rows)
        EXPECT_EQ(fits_host(Judged(row.identity, row.depth), row.host), row.fits) << row.what;
}

TEST(KeyLength, IsLoggedAsWhatItIs) {
    constexpr int info = 2, verbose = 4;
    const struct {
        const char *key;
        LogLine line;
        bool rsa_only = false;
    } rows[] = {
        {"rsa-1023", {0, info, -500, "Certificate invalid: RSA key length=1023 < MIN 1024"}},
        {"rsa-1024", {0, verbose, 0, "Valid certificate RSA key length=1024"}, true},
        {"ec-secp160r1", {0, info, -500, "Certificate invalid: EC key length=160 < MIN 163"}},
        {"ec-sect163r1", {0, verbose, 0, "Valid certificate EC key length=163"}},
        {"ec-p256", {0, verbose, 0, "Valid certificate EC key length=256"}},
        {"ec-p256", {0, info, -500, "Certificate invalid: key type != RSA"}, true},
        {"ed25519", {0, info, -500, "Unknown key type: 1087"}},
    };
    for (const auto &row : rows) {
        const Identity identity = server(trusted_root(), {.key = row.key});
        const CapturedLog log;
        EXPECT_EQ(key_long_enough(identity.certificate.get(), row.rsa_only),
                  row.line.severity == verbose);
        EXPECT_EQ(CapturedLog::lines(), std::vector{row.line});
    }
}

// As when the TLS library takes up an earlier session.
TEST(ServerVerification, HasFailedUnlessTheServersOwnCertificateWasSeen) {
    const CapturedLog log;
    const Identity leaf = server(trusted_root());
    ServerVerification verification;
    for (int handshake = 0; handshake < 2; ++handshake) {
        verification.begin(literal_host, true);
        EXPECT_EQ(verification.outcome(), failed);
        verification.verify_server_pbp(true, Judged(trusted_root(), 1));
        EXPECT_EQ(verification.outcome(), failed);
        EXPECT_EQ(verification.chain().entries()[0].size(), 0u);
        verification.verify_server_pbp(true, Judged(leaf));
        EXPECT_EQ(verification.outcome(), passed);
        EXPECT_EQ(verification.chain().entries()[0], der_of(leaf));
    }
}

TEST(ServerVerification, PlatformsWordCountsWhereTheTlsLibraryHasNone) {
    using enum FakeVerifier::Answer;
    const CapturedLog log;
    const Identity here = server(strange_root());
    const Judged good(here);
    const Judged strange(here, 0, X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
    const Judged elsewhere(server(strange_root(), {.names = {"127.0.0.2"}}), 0,
                           X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY);
    struct {
        const char *name;
        const Judged &certificate;
        FakeVerifier verifier;
        VerificationOutcome outcome;
        bool asked, added;
    } cases[] = {
        {"not asked of a trusted chain", good, {no, yes}, passed, false, true},
        {"yes", strange, {yes, yes}, passed, true, true},
        {"no", strange, {no, yes}, failed_but_warnable, true, false},
        {"yes, another host", elsewhere, {yes, yes}, failed, true, false},
        {"throws", strange, {throws, yes}, failed, true, false},
        {"does not remember", strange, {yes, no}, passed, true, true},
        {"throws when it shall remember", good, {yes, throws}, failed, false, true},
    };
    for (auto &row : cases) {
        SCOPED_TRACE(row.name);
        ServerVerification verification;
        verification.set_platform_verifier({&row.verifier, [](ICertVerifier *) {}});
        verification.begin(literal_host, true);
        verification.verify_server_pbp(&row.certificate == &good, row.certificate);
        EXPECT_EQ(verification.outcome(), row.outcome);
        EXPECT_EQ(row.verifier.asked, row.asked);
        EXPECT_EQ(row.verifier.added, row.added);
    }
}

class VerifyingClient : public TransportTest {
    TrustedCa roots_;
};

TEST_F(VerifyingClient, AsksThePlatformThatItIsGiven) {
    using enum FakeVerifier::Answer;
    const Identity strange = server(strange_root());
    HttpsXmlClient client;
    client.set_platform_verifier(std::make_shared<FakeVerifier>(yes, yes));
    EXPECT_EQ(connect_to(client, strange, false).result, ConnectCode::connected);
    client.set_platform_verifier(nullptr);
    EXPECT_EQ(connect_to(client, strange, false).result,
              ConnectCode::certificate_failed_but_warnable);
}

TEST_F(VerifyingClient, TellsViewBrokersChangedCertificateFromTheOneSeen) {
    using enum StoredCertificate;
    using enum ConnectCode;
    constexpr const char *self_signed_text = "self-signed certificate";
    constexpr const char *differs_text =
        "the certificate is unverifiable and differs from the earlier unverifiable certificate.";
    constexpr const char *key_text =
        "the RSA key length on the certificate is less than the minimum length.";
    const TemporaryHome home;
    const Identity first = self_signed();
    const Identity changed = self_signed();
    const Identity no_rsa = self_signed({.key = "ec-p256"});
    const struct {
        const Identity &identity;
        const char *text;
        ConnectCode code = certificate_failed_but_warnable;
    } visits[] = {{first, self_signed_text},
                  {first, self_signed_text},
                  {changed, differs_text},
                  {changed, self_signed_text},
                  {no_rsa, key_text, certificate_failed}};
    HttpsXmlClient client;
    for (const auto &visit : visits) {
        const ConnectResult result = connect_to(client, visit.identity, true);
        EXPECT_EQ(result.result, visit.code);
        EXPECT_EQ(result.error_text, visit.text);
        CertStoreCache cache;
        cache.load();
        EXPECT_EQ(cache.lookup(literal_host, visit.identity.certificate.get()), same);
        EXPECT_EQ(cache.lookup(literal_host, trusted_root().certificate.get()), other_not_accepted);
    }
}

} // namespace trust
