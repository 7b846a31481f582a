#include "chains.h"
#include "temporary_home.h"
#include "transport/io_client.h"

#include <stdexcept>

// What the client's transport makes of a second authority's word, and of View brokers.

namespace kavro {
namespace {

using namespace trust;

/// Says what it is told to, and remembers what it was given.
class FakeVerifier final : public ICertVerifier {
public:
    enum class Answer { no, yes, throws };

    FakeVerifier(Answer on_verify, Answer on_add) : on_verify_(on_verify), on_add_(on_add) {}

    bool verify(X509 *) override {
        ++asked;
        return answer(on_verify_);
    }
    bool add(X509 *) override {
        ++added;
        return answer(on_add_);
    }

    int asked = 0;
    int added = 0;

private:
    static bool answer(Answer answer) {
        if (answer == Answer::throws)
            throw std::runtime_error("verifier");
        return answer == Answer::yes;
    }

    Answer on_verify_;
    Answer on_add_;
};

class Verifiers : public TransportTest {
protected:
    static ConnectResult connect_to(HttpsXmlClient &client, const ServerIdentity &identity,
                                    bool use_view_verifier) {
        const ScriptedPeer peer({{handshake()}}, {identity});
        const auto outcome = drive<ConnectResult>(client, [&](auto handler) {
            client.connect(peer.address(), true, handler, ample, {}, use_view_verifier);
        });
        client.disconnect();
        return outcome.result;
    }

    TrustedCa roots_{trusted_root().certificate_pem()};
};

} // namespace

TEST_F(Verifiers, PlatformsWordCountsWhereTheTlsLibraryHasNone) {
    using enum FakeVerifier::Answer;
    using enum ConnectCode;
    const ServerIdentity good = shown(server(trusted_root()));
    const ServerIdentity strange = shown(server(strange_root()));
    const ServerIdentity elsewhere = shown(server(strange_root(), {.names = {"127.0.0.2"}}));
    struct Case {
        const char *name;
        ServerIdentity identity;
        FakeVerifier verifier;
        ConnectCode code;
        bool asked;
        bool added;
    };
    Case cases[] = {
        {"not asked of a trusted chain", good, {no, yes}, connected, false, true},
        {"yes", strange, {yes, yes}, connected, true, true},
        {"no", strange, {no, yes}, certificate_failed_but_warnable, true, true},
        {"yes, another host", elsewhere, {yes, yes}, certificate_failed, true, false},
        {"throws", strange, {throws, yes}, certificate_failed, true, true},
        {"does not remember", strange, {yes, no}, connected, true, true},
        {"throws when it shall remember", good, {yes, throws}, certificate_failed, false, true},
    };
    for (Case &row : cases) {
        SCOPED_TRACE(row.name);
        HttpsXmlClient client;
        client.set_platform_verifier({&row.verifier, [](ICertVerifier *) {}});
        const ConnectResult result = connect_to(client, row.identity, false);
        EXPECT_EQ(result.result, row.code) << result.error_text;
        EXPECT_EQ(row.verifier.asked > 0, row.asked);
        EXPECT_EQ(row.verifier.added > 0, row.added);
    }
    HttpsXmlClient alone;
    alone.set_platform_verifier(nullptr);
    EXPECT_EQ(connect_to(alone, good, false).result, connected);
    EXPECT_EQ(connect_to(alone, strange, false).result, certificate_failed_but_warnable);
}

TEST_F(Verifiers, ViewBrokersChangedCertificateIsToldFromTheOneSeen) {
    using enum StoredCertificate;
    constexpr const char *self_signed_text = "self-signed certificate";
    constexpr const char *differs_text =
        "the certificate is unverifiable and differs from the earlier unverifiable certificate.";
    const TemporaryHome home;
    const Identity first = self_signed();
    const Identity changed = self_signed();
    const struct {
        const Identity &identity;
        const char *text;
    } visits[] = {{first, self_signed_text},
                  {first, self_signed_text},
                  {changed, differs_text},
                  {changed, self_signed_text}};
    HttpsXmlClient client;
    for (const auto &visit : visits) {
        const ConnectResult result = connect_to(client, shown(visit.identity), true);
        EXPECT_EQ(result.result, ConnectCode::certificate_failed_but_warnable);
        EXPECT_EQ(result.error_text, visit.text);
        CertStoreCache cache;
        cache.load();
        EXPECT_EQ(cache.lookup(literal_host, visit.identity.certificate.get()), same);
        EXPECT_EQ(cache.lookup(literal_host, trusted_root().certificate.get()), other_not_accepted);
    }
}

} // namespace kavro
