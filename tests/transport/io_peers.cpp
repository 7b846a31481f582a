#include "io_client.h"

#include <openssl/ssl.h>

// What becomes of a connection and of a request, by what the peer does.

namespace kavro {

namespace {

/// A TLS record with a fatal alert, as a server sends it in place of its first message.
Step alert(char description) {
    return send(std::string("\x15\x03\x03\x00\x02\x02", 6) + description);
}

constexpr char handshake_failure = 40;
constexpr char unknown_ca = 48;
const std::string answer = http_ok(hello_answer());
/// More than what the systems on the way hold for a peer that does not read.
const std::string big_request = "<a>" + std::string(10 << 20, 'x') + "</a>";
const std::string big_body(8 << 20, 'x');

class PeerTest : public TransportTest {};

} // namespace

// Ends, silences and garbage at every moment are in the table of faults of the whole library.
TEST_F(PeerTest, DecidesHowAConnectionAndARequestEnd) {
    constexpr auto declined = POST_RESULT_CANCELLED; // there is nothing to post on
    constexpr auto good = POST_RESULT_SUCCESS, lost = POST_RESULT_SOCKET_OR_SYS_FAILURE,
                   broken = POST_RESULT_TLS_PROTOCOL_ERROR, late = POST_RESULT_TIMEOUT,
                   not_ok = POST_RESULT_NOT_HTTP_OK;
    const Script refuses = {expect_bytes(1), alert(handshake_failure)};
    const Script distrusts = {expect_bytes(1), alert(unknown_ca)};
    const Script renegotiates = after_request({renegotiate(), expect_bytes(1)});
    const Script drips = after_request({send(answer.substr(0, 50)), drip(big_body, 1, 20ms)});
    const Script fails =
        after_request({send("HTTP/1.1 500 Oh\r\nContent-Length: 8388608\r\n\r\n" + big_body)});
    const Script trickles = after_request({drip(answer, 1), expect_request(), send(answer)});
    // Both answers come while the first request is being written, so they are read at once; when
    // the second request is sent, there is nothing left to wait for.
    const Script hasty = {handshake(),  expect_bytes(100), send(answer),
                          send(answer), expect_request(),  stall()};
    const PeerTls new_demanding = {.min_version = TLS1_3_VERSION,
                                   .demand_client_certificate = true};
    const PeerTls old_demanding = {.max_version = TLS1_2_VERSION,
                                   .demand_client_certificate = true};
    const struct {
        const char *name;
        bool securely;
        Script script;
        ePOST_RESULT posted;
        PeerTls tls = {};
        std::string_view request = small_xml;
    } rows[] = {
        {"alert", true, refuses, declined},
        {"alert, unverified", false, refuses, declined},
        {"unknown CA alert", true, distrusts, declined},
        {"unknown CA alert, unverified", false, distrusts, lost},
        {"TLS 1.0", true, {handshake()}, declined, {.max_version = TLS1_VERSION}},
        {"TLS 1.1", true, {handshake()}, declined, {.max_version = TLS1_1_VERSION}},
        {"certificate demanded", true, {handshake()}, declined, old_demanding},
        {"the same, told behind the handshake", true, {handshake()}, broken, new_demanding},
        {"two renegotiations", true, renegotiates, broken, {.max_version = TLS1_2_VERSION}},
        {"one byte a record", true, trickles, good},
        {"dripping body", true, drips, late},
        {"status 500 with a big body", true, fails, not_ok},
        {"answers twice and stops reading", true, hasty, good, {}, big_request},
        {"stops reading", true, {handshake(), expect_bytes(100), stall()}, late, {}, big_request},
    };
    for (const auto &[name, securely, script, result, tls, request] : rows) {
        SCOPED_TRACE(name);
        CapturedLog::take();
        const ScriptedPeer peer({script}, tls);
        Client client;
        const auto connected = connect(client, peer.address(), securely).result;
        ASSERT_EQ(connected.result,
                  result == declined ? ConnectCode::tls_handshake_failed : ConnectCode::connected)
            << connected.error_text;
        EXPECT_EQ(connected.host, "127.0.0.1");
        EXPECT_EQ(connected.connect_securely, securely);
        EXPECT_EQ(connected.error_text.empty(), result != declined);
        if (result == declined)
            continue;
        const bool timed_out = result == late;
        const auto posted = post(client, request, timed_out ? short_timeout : ample);
        EXPECT_EQ(posted.result.result, result) << posted.result.error_text;
        EXPECT_EQ(posted.result.document != nullptr, result == good);
        EXPECT_EQ(CapturedLog::holds("Deadline Timer has expired!"), timed_out);
        EXPECT_LT(posted.took, ample);
        EXPECT_GE(posted.took, timed_out ? short_timeout : 0ms);
        EXPECT_EQ(post(client).result.result, result == good ? good : lost)
            << "what is left of an answer is not taken for the next one";
    }
}

} // namespace kavro
