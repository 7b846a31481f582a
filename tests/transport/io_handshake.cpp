#include "io_client.h"

#include <openssl/ssl.h>

namespace kavro {

namespace {

/// A TLS record with a fatal alert, as a server sends it in place of its first message.
std::string fatal_alert(char description) {
    return std::string("\x15\x03\x03\x00\x02\x02", 6) + description;
}

constexpr char handshake_failure = 40;
constexpr char unknown_ca = 48;

/// The start of a server's first message, which never gets to its end.
const std::string endless_record =
    std::string("\x16\x03\x03\x3F\xFF\x02\x00\x3F\xFB", 9) + std::string(1000, '\x03');

class HandshakeTest : public TransportTest {};

} // namespace

TEST_F(HandshakeTest, FailsWithACodeForEveryFault) {
    constexpr const char *failure_line = "HttpsXmlClient::handle_handshake, Handshake failure";
    struct Case {
        const char *name;
        Script script;
        bool securely;
        ConnectCode code;
        milliseconds timeout = ample;
        PeerTls tls = {};
    };
    const Script in_tls = {handshake()};
    const Case cases[] = {
        {"FIN", {expect_bytes(1), fin()}, true, ConnectCode::socket_or_sys_failure},
        {"RST", {expect_bytes(1), rst()}, true, ConnectCode::socket_or_sys_failure},
        {"plain HTTP",
         {expect_bytes(1), send("HTTP/1.1 400 Bad Request\r\n\r\n")},
         true,
         ConnectCode::tls_handshake_failed},
        {"handshake failure alert",
         {expect_bytes(1), send(fatal_alert(handshake_failure))},
         true,
         ConnectCode::tls_handshake_failed},
        {"handshake failure alert, unverified",
         {expect_bytes(1), send(fatal_alert(handshake_failure))},
         false,
         ConnectCode::tls_handshake_failed},
        {"unknown CA alert",
         {expect_bytes(1), send(fatal_alert(unknown_ca))},
         true,
         ConnectCode::tls_handshake_failed},
        {"TLS 1.0 only",
         in_tls,
         false,
         ConnectCode::tls_handshake_failed,
         ample,
         {.max_version = TLS1_VERSION}},
        {"TLS 1.1 only",
         in_tls,
         false,
         ConnectCode::tls_handshake_failed,
         ample,
         {.max_version = TLS1_1_VERSION}},
        {"client certificate demanded in TLS 1.2",
         in_tls,
         true,
         ConnectCode::tls_handshake_failed,
         ample,
         {.max_version = TLS1_2_VERSION, .demand_client_certificate = true}},
        {"silence", {stall()}, true, ConnectCode::timeout, short_timeout},
        {"a byte now and then",
         {expect_bytes(1), drip(endless_record, 1, 20ms)},
         true,
         ConnectCode::timeout,
         short_timeout},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.name);
        CapturedLog::lines().clear();
        const ScriptedPeer peer({row.script}, row.tls);
        HttpsXmlClient client;
        const auto outcome = connect(client, peer.address(), row.securely, row.timeout);
        EXPECT_EQ(outcome.result.result, row.code) << outcome.result.error_text;
        EXPECT_EQ(outcome.result.host, "127.0.0.1");
        const bool timed_out = row.code == ConnectCode::timeout;
        EXPECT_EQ(logged("Deadline Timer has expired!"), timed_out);
        EXPECT_EQ(logged(failure_line), !timed_out);
        EXPECT_EQ(outcome.result.error_text.empty(), timed_out);
        EXPECT_LT(outcome.took, timed_out ? row.timeout + margin : margin);
        EXPECT_GE(outcome.took, timed_out ? row.timeout : 0ms);
        EXPECT_FALSE(peer.record(0).handshaken);
        expect_usable(client);
    }
}

TEST_F(HandshakeTest, UnknownCaAlertCountsAsConnectedWithoutVerification) {
    const ScriptedPeer peer({{expect_bytes(1), send(fatal_alert(unknown_ca))}});
    HttpsXmlClient client;
    const auto outcome = connect(client, peer.address(), false);
    EXPECT_EQ(outcome.result.result, ConnectCode::connected);
    EXPECT_FALSE(outcome.result.connect_securely);
    EXPECT_EQ(post(client).result.result, POST_RESULT_SOCKET_OR_SYS_FAILURE);
    expect_usable(client);
}

// TLS 1.3 tells the client only after its own handshake is done.
TEST_F(HandshakeTest, ClientCertificateDemandedInTls13FailsThePost) {
    const ScriptedPeer peer({{handshake()}},
                            {.min_version = TLS1_3_VERSION, .demand_client_certificate = true});
    HttpsXmlClient client;
    EXPECT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    EXPECT_EQ(post(client).result.result, POST_RESULT_TLS_PROTOCOL_ERROR);
    EXPECT_FALSE(peer.record(0).handshaken);
    expect_usable(client);
}

TEST_F(HandshakeTest, OnlyAVerifiedServerIsConnectedTo) {
    struct Case {
        const char *name;
        ServerIdentity identity;
        ConnectCode code;
        std::size_t chain_length;
    };
    constexpr auto verified = ConnectCode::connected;
    constexpr auto rejected = ConnectCode::certificate_failed;
    constexpr auto warnable = ConnectCode::certificate_failed_but_warnable;
    const Case cases[] = {
        {"verified", trusted_server({"127.0.0.1"}), verified, 2},
        {"one of several names", trusted_server({"broker.test", "127.0.0.1"}), verified, 2},
        {"untrusted", untrusted_server({"127.0.0.1"}), warnable, 1},
        {"self-signed", self_signed_server({"127.0.0.1"}), warnable, 1},
        {"wrong address", trusted_server({"127.0.0.2"}), rejected, 2},
        {"a name where an address is needed", trusted_server({"broker.test"}), rejected, 2},
        {"expired", expired_server({"127.0.0.1"}), rejected, 2},
    };
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        for (const Case &row : cases) {
            SCOPED_TRACE(row.name);
            const ScriptedPeer peer({{handshake()}, good_script()},
                                    {row.identity, version, version});
            HttpsXmlClient client;
            const auto secure = connect(client, peer.address(), true);
            EXPECT_EQ(secure.result.result, row.code) << secure.result.error_text;
            EXPECT_EQ(secure.result.error_text.empty(), row.code == verified);
            EXPECT_TRUE(secure.result.connect_securely);
            EXPECT_EQ(secure.result.certificates.size(), row.chain_length);
            client.disconnect();

            // Nothing had been sent when the verdict fell; without verification there is none.
            ASSERT_TRUE(peer.wait_for(0, [](const PeerRecord &seen) { return seen.closed; }));
            EXPECT_EQ(peer.record(0).received, "");
            const auto unverified = connect(client, peer.address(), false);
            EXPECT_EQ(unverified.result.result, ConnectCode::connected);
            EXPECT_EQ(unverified.result.certificates.size(), 0u);
            EXPECT_EQ(post(client).result.result, POST_RESULT_SUCCESS);
            expect_usable(client);
        }
    }
}

// A resumed session shows no certificate: nothing could be verified.
TEST_F(HandshakeTest, SessionMadeWithoutVerificationIsNotTakenUpWithIt) {
    for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
        const ScriptedPeer peer({good_script()},
                                {untrusted_server({"127.0.0.1"}), version, version});
        HttpsXmlClient client;
        EXPECT_EQ(connect(client, peer.address(), false).result.result, ConnectCode::connected);
        EXPECT_EQ(post(client).result.result, POST_RESULT_SUCCESS);
        client.disconnect();
        EXPECT_EQ(connect(client, peer.address(), true).result.result,
                  ConnectCode::certificate_failed_but_warnable);
        EXPECT_TRUE(peer.wait_for(1, [](const PeerRecord &seen) { return seen.closed; }));
        EXPECT_FALSE(peer.record(1).resumed);
        expect_usable(client);
    }
}

TEST_F(HandshakeTest, RenegotiationIsRefused) {
    const ScriptedPeer peer({{handshake(), expect_request(), renegotiate(), expect_bytes(1)}},
                            {.max_version = TLS1_2_VERSION});
    HttpsXmlClient client;
    EXPECT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    const auto posted = post(client);
    // Asked again, the server gives up on the old session.
    EXPECT_EQ(posted.result.result, POST_RESULT_TLS_PROTOCOL_ERROR);
    expect_usable(client);
}

} // namespace kavro
