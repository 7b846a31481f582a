#include "io_client.h"
#include "support/unreachable.h"

#include "transport/waiter.h"

namespace kavro {

namespace {

class DeadlineTest : public TransportTest {};

} // namespace

TEST(WaiterTest, DeadlinePassesOnceAndIsForgottenWhenSetAnewOrCleared) {
    Waiter waiter;
    waiter.set_deadline(1ms);
    EXPECT_FALSE(waiter.expired());
    EXPECT_TRUE(waiter.wait());
    EXPECT_TRUE(waiter.expired());
    waiter.clear_deadline();
    EXPECT_TRUE(waiter.expired()) << "who was ended by it asks after clearing";

    const auto in_a_moment = [] { return Waiter::Clock::now() + 2ms; };
    for (const milliseconds none : {0ms, milliseconds(24h)}) {
        waiter.set_deadline(1ms);
        waiter.set_deadline(none);
        EXPECT_FALSE(waiter.wait({}, in_a_moment()));
    }
    waiter.set_deadline(1ms);
    waiter.clear_deadline();
    EXPECT_FALSE(waiter.wait({}, in_a_moment()));
    EXPECT_FALSE(waiter.expired());
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
