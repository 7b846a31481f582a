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

class HandshakeTest : public TransportTest {};

} // namespace

// What ends or falls silent in the handshake is in the table of faults of the whole library.
TEST_F(HandshakeTest, FailsWhereTheServerDeclines) {
    const auto declined = ConnectCode::tls_handshake_failed;
    const Script alert = {expect_bytes(1), send(fatal_alert(handshake_failure))};
    const Script wants_certificate = {expect_bytes(1), send(fatal_alert(unknown_ca))};
    const struct {
        const char *name;
        Script script;
        bool securely;
        ConnectCode code;
        PeerTls tls = {};
    } rows[] = {
        {"alert", alert, true, declined},
        {"alert, unverified", alert, false, declined},
        {"unknown CA alert", wants_certificate, true, declined},
        {"unknown CA alert, unverified", wants_certificate, false, ConnectCode::connected},
        {"TLS 1.0", {handshake()}, false, declined, {.max_version = TLS1_VERSION}},
        {"TLS 1.1", {handshake()}, false, declined, {.max_version = TLS1_1_VERSION}},
        {"client certificate demanded in TLS 1.2",
         {handshake()},
         true,
         declined,
         {.max_version = TLS1_2_VERSION, .demand_client_certificate = true}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const ScriptedPeer peer({row.script}, row.tls);
        Client client;
        const auto outcome = connect(client, peer.address(), row.securely);
        EXPECT_EQ(outcome.result.result, row.code) << outcome.result.error_text;
        EXPECT_EQ(outcome.result.host, "127.0.0.1");
        EXPECT_EQ(outcome.result.connect_securely, row.securely);
        EXPECT_EQ(outcome.result.error_text.empty(), row.code != declined);
        EXPECT_FALSE(peer.record(0).handshaken);
        if (row.code == ConnectCode::connected) {
            EXPECT_EQ(post(client).result.result, POST_RESULT_SOCKET_OR_SYS_FAILURE);
        }
    }
}

// TLS 1.3 tells the client only after its own handshake is done.
TEST_F(HandshakeTest, ClientCertificateDemandedInTls13FailsThePost) {
    const ScriptedPeer peer({{handshake()}},
                            {.min_version = TLS1_3_VERSION, .demand_client_certificate = true});
    Client client;
    EXPECT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    EXPECT_EQ(post(client).result.result, POST_RESULT_TLS_PROTOCOL_ERROR);
    EXPECT_FALSE(peer.record(0).handshaken);
}

TEST_F(HandshakeTest, RenegotiationIsRefused) {
    const ScriptedPeer peer({after_request({renegotiate(), expect_bytes(1)})},
                            {.max_version = TLS1_2_VERSION});
    Client client;
    EXPECT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    // Asked again, the server gives up on the old session.
    EXPECT_EQ(post(client).result.result, POST_RESULT_TLS_PROTOCOL_ERROR);
}

} // namespace kavro
