#include "io_client.h"
#include "io_names.h"
#include "support/unreachable.h"

#include "transport/deadline_timer.h"

namespace kavro {

namespace {

class DeadlineTimerTest : public testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    static void let_pass(milliseconds time) {
        const auto end = Clock::now() + time;
        while (Clock::now() < end) {
        }
    }

    boost::asio::io_context context_;
    int actions_ = 0;
    DeadlineTimer timer_{context_, [this] { ++actions_; }};
};

class DeadlineTest : public TransportTest {};

} // namespace

TEST_F(DeadlineTimerTest, PassesOnceAndIsForgottenWhenSetAnew) {
    timer_.set(1ms);
    EXPECT_FALSE(timer_.expired());
    context_.run();
    EXPECT_TRUE(timer_.expired());
    EXPECT_EQ(actions_, 1);
    timer_.clear();
    EXPECT_TRUE(timer_.expired()) << "who was ended by it asks after clearing";
    timer_.set(24h);
    EXPECT_FALSE(timer_.expired());
    timer_.clear();
    context_.restart();
    context_.run();
    EXPECT_EQ(actions_, 1);
}

// Both waits are over before either handler runs: it is too late to cancel the second.
TEST_F(DeadlineTimerTest, WaitThatIsAlreadyOverDoesNothingOnceClearedOrSetAnew) {
    const std::function<void()> interventions[] = {
        [this] { timer_.clear(); },
        [this] { timer_.set(24h); },
        [this] { timer_.set(0ms); },
    };
    for (const auto &intervene : interventions) {
        boost::asio::steady_timer earlier(context_, 1ms);
        earlier.async_wait([&](const boost::system::error_code &) { intervene(); });
        timer_.set(2ms);
        let_pass(3ms);
        context_.restart();
        context_.poll();
        EXPECT_EQ(actions_, 0);
        EXPECT_FALSE(timer_.expired());
        timer_.clear();
    }
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
