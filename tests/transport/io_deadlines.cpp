#include "io_client.h"
#include "io_names.h"
#include "support/unreachable.h"

#include "transport/deadline_timer.h"

namespace kavro {

namespace {

class DeadlineTest : public TransportTest {};

} // namespace

TEST(DeadlineTimerTest, PassesOnceAndIsForgottenWhenSetAnewOrCleared) {
    boost::asio::io_context context;
    int actions = 0;
    DeadlineTimer timer([&actions] { ++actions; });
    EXPECT_FALSE(timer.run_one(context)) << "there is nothing to wait for";

    const auto operation_under_way = boost::asio::make_work_guard(context);
    context.restart();
    timer.set(1ms);
    EXPECT_FALSE(timer.expired());
    EXPECT_TRUE(timer.run_one(context));
    EXPECT_TRUE(timer.expired());
    timer.clear();
    EXPECT_TRUE(timer.expired()) << "who was ended by it asks after clearing";

    for (const milliseconds none : {0ms, milliseconds(24h)}) {
        timer.set(1ms);
        timer.set(none);
        EXPECT_FALSE(timer.expired());
        const auto later = std::chrono::steady_clock::now() + 2ms;
        while (std::chrono::steady_clock::now() < later)
            timer.poll(context);
        EXPECT_FALSE(timer.expired());
    }
    EXPECT_EQ(actions, 1);
}

TEST_F(DeadlineTest, HoldsWhereAConnectionIsBeingMade) {
    // The start of a server's first message, which never gets to its end.
    const std::string endless_record =
        std::string("\x16\x03\x03\x3F\xFF\x02\x00\x3F\xFB", 9) + std::string(1000, '\x03');
    const FullBacklog silent;
    const ScriptedPeer dripping({{expect_bytes(1), drip(endless_record, 1, 20ms)}});
    for (const std::string &address : {"127.0.0.1:" + silent.port(), dripping.address()}) {
        Client client;
        const auto outcome = connect(client, address, true, short_timeout);
        EXPECT_EQ(outcome.result.result, ConnectCode::timeout);
        EXPECT_GE(outcome.took, short_timeout);
        EXPECT_LT(outcome.took, short_timeout + margin);
    }
}

TEST_F(DeadlineTest, AfterASilentAddressTheNextIsTried) {
    const FullBacklog silent;
    const ScriptedPeer peer({{handshake()}});
    Names names;
    names.set("broker.test", {silent.endpoint(), peer.endpoint()});
    Client client(names.lookup());
    const auto outcome = connect(client, "broker.test:443", false, short_timeout);
    EXPECT_EQ(outcome.result.result, ConnectCode::connected);
    EXPECT_GE(outcome.took, short_timeout);
}

TEST_F(DeadlineTest, ZeroWaitsForAsLongAsItTakes) {
    const ScriptedPeer peer({after_request({drip(http_ok(small_xml), 10, 20ms)})});
    Client client;
    EXPECT_EQ(connect(client, peer.address(), true, 0ms).result.result, ConnectCode::connected);
    EXPECT_EQ(post(client, small_xml, 0ms).result.result, POST_RESULT_SUCCESS);
}

// The deadline of an operation that is over must not end the next one.
TEST_F(DeadlineTest, EndsWithItsOperation) {
    const ScriptedPeer peer({after_request({drip(http_ok(small_xml), 5, 20ms)})});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true, short_timeout).result.result,
              ConnectCode::connected);
    const auto posted = post(client, small_xml, ample);
    EXPECT_EQ(posted.result.result, POST_RESULT_SUCCESS);
    EXPECT_FALSE(CapturedLog::holds("Deadline Timer has expired!"));
}

} // namespace kavro
