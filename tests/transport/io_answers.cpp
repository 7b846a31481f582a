#include "io_client.h"

namespace kavro {

namespace {

const std::string answer = http_ok(hello_answer());
/// More than what the systems on the way hold for a peer that does not read.
const std::string big_request = "<a>" + std::string(10 << 20, 'x') + "</a>";

class AnswerTest : public TransportTest {};

} // namespace

// Ends, silences and garbage at every moment are in the table of faults of the whole library.
TEST_F(AnswerTest, IsWhatItsLastByteMakesIt) {
    const std::string big_body(20 << 20, 'x');
    const struct {
        const char *name;
        Script steps; ///< after the request
        ePOST_RESULT result;
        milliseconds timeout = ample;
    } rows[] = {
        {"one byte a record", {send_split(answer, 1)}, POST_RESULT_SUCCESS},
        {"dripping body",
         {send(answer.substr(0, 50)), drip(big_body, 1, 20ms)},
         POST_RESULT_TIMEOUT,
         short_timeout},
        {"status 500 with a big body",
         {send("HTTP/1.1 500 Oh\r\nContent-Length: 20971520\r\n\r\n"), send(big_body)},
         POST_RESULT_NOT_HTTP_OK},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        CapturedLog::lines().clear();
        const ScriptedPeer peer({after_request(row.steps)});
        Client client;
        ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
        const auto posted = post(client, small_xml, row.timeout);
        EXPECT_EQ(posted.result.result, row.result) << posted.result.error_text;
        EXPECT_EQ(posted.result.document != nullptr, row.result == POST_RESULT_SUCCESS);
        const bool timed_out = row.result == POST_RESULT_TIMEOUT;
        EXPECT_EQ(CapturedLog::holds("Deadline Timer has expired!"), timed_out);
        EXPECT_LT(posted.took, timed_out ? row.timeout + margin : margin);
        EXPECT_GE(posted.took, timed_out ? row.timeout : 0ms);
    }
}

// What is left of an answer must not be taken for the answer to the next request.
TEST_F(AnswerTest, NoFurtherRequestOnAConnectionThatFailed) {
    const ScriptedPeer peer({after_request({send("HTTP/1.1 500 Oh\r\nContent-Length: 99\r\n\r\n"),
                                            send(answer), expect_request(), send(answer)})});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    EXPECT_EQ(post(client).result.result, POST_RESULT_NOT_HTTP_OK);
    EXPECT_EQ(post(client).result.result, POST_RESULT_SOCKET_OR_SYS_FAILURE);
}

TEST_F(AnswerTest, PeerThatStopsReadingMayHaveAnswered) {
    const struct {
        Step next;
        milliseconds timeout;
        ePOST_RESULT result;
    } rows[] = {{send(answer), ample, POST_RESULT_SUCCESS},
                {stall(), short_timeout, POST_RESULT_TIMEOUT}};
    for (const auto &[next, timeout, result] : rows) {
        const ScriptedPeer peer({{handshake(), expect_bytes(100), next, expect_request()}});
        Client client;
        ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
        const auto posted = post(client, big_request, timeout);
        EXPECT_EQ(posted.result.result, result);
        EXPECT_LT(posted.took, ample);
    }
}

// Both answers come while the first request is being written, so they are read at once; when the
// second request is sent, there is nothing left to wait for.
TEST_F(AnswerTest, IsFoundWhereItWasReadAheadOfItsRequest) {
    const ScriptedPeer peer(
        {{handshake(), expect_bytes(100), send(answer), send(answer), expect_request(), stall()}});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    ASSERT_EQ(post(client, big_request).result.result, POST_RESULT_SUCCESS);
    EXPECT_EQ(post(client).result.result, POST_RESULT_SUCCESS);
}

} // namespace kavro
