#include "io_client.h"
#include "io_names.h"
#include "support/unreachable.h"
#include "transport/waiter.h"

// What ends an operation though its peer does not: its deadline, a cancel, a limit.

namespace kavro {

namespace {

class LimitTest : public TransportTest {
protected:
    SilentNames silent_{{{boost::asio::ip::make_address("192.0.2.1"), 0}}};
};

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

    waiter.set_deadline(1ms);
    waiter.cancel();
    for (const auto due = in_a_moment(); Waiter::Clock::now() < due;)
        ;
    EXPECT_TRUE(waiter.check());
    EXPECT_FALSE(waiter.expired()) << "the cancel came first";
}

TEST_F(LimitTest, DeadlineHoldsWhereAConnectionIsBeingMade) {
    // The start of a server's first message, which never gets to its end.
    const std::string endless_record =
        std::string("\x16\x03\x03\x3F\xFF\x02\x00\x3F\xFB", 9) + std::string(1000, '\x03');
    const FullBacklog full;
    const ScriptedPeer dripping({{expect_bytes(1), drip(endless_record, 1, 20ms)}});
    Client client(silent_.lookup());
    for (const std::string &address :
         {"broker.test:443"s, "127.0.0.1:" + full.port(), dripping.address()}) {
        const auto outcome = connect(client, address, true, short_timeout);
        EXPECT_EQ(outcome.result.result, ConnectCode::timeout);
        EXPECT_GE(outcome.took, short_timeout);
        EXPECT_LT(outcome.took, short_timeout + margin);
    }
    EXPECT_LT(resolve(client, "desktop.test", short_timeout).took, short_timeout + margin);
}

TEST_F(LimitTest, DeadlineEndsWithItsOperationAndZeroIsNone) {
    const std::pair<milliseconds, milliseconds> rows[] = {{0ms, 0ms}, {short_timeout, ample}};
    for (const auto &[of_connect, of_post] : rows) {
        const ScriptedPeer peer({after_request({drip(http_ok(small_xml), 5, 20ms)})});
        Client client;
        ASSERT_EQ(connect(client, peer.address(), true, of_connect).result.result,
                  ConnectCode::connected);
        EXPECT_EQ(post(client, small_xml, of_post).result.result, POST_RESULT_SUCCESS);
        EXPECT_FALSE(CapturedLog::holds("Deadline Timer has expired!"));
        EXPECT_GT(client.report().times[static_cast<std::size_t>(ConnectionPhase::receive)], 100ms);
    }
}

TEST_F(LimitTest, AnswerToALookUpThatComesTooLateIsNotHeard) {
    const ScriptedPeer peer({good_script()});
    SilentNames late({peer.endpoint()});
    Client client(late.lookup());
    EXPECT_EQ(connect(client, "broker.test:443", false, short_timeout).result.result,
              ConnectCode::timeout);
    late.release();
    client.run_io(false);
    EXPECT_EQ(peer.connection_count(), 0u);
    EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::connected);
}

TEST_F(LimitTest, AbandonedLookUpsAreBounded) {
    abandon_lookups(silent_);
    Client client(silent_.lookup());
    const auto outcome = connect(client, "broker.test:443", true);
    EXPECT_EQ(outcome.result.result, ConnectCode::resolve_failed);
    EXPECT_LT(outcome.took, margin);
    EXPECT_EQ(resolve(client, "desktop.test").result, "");
    silent_.wait_for_lookups(BlockingCall::max_abandoned);

    silent_.release();
    while (resolve(client, "desktop.test").result != "192.0.2.1") // as soon as a thread has ended
        ;
}

TEST_F(LimitTest, LookUpsThatAnswerInSpiteOfACancelAreNotAbandoned) {
    const auto waiter = std::make_shared<Waiter>();
    const auto cancelling = std::make_shared<std::atomic<bool>>(true);
    const NameResolver::BlockingLookup answering = [=](auto &&...) {
        if (*cancelling)
            waiter->cancel();
        return NameResolver::Endpoints{{boost::asio::ip::make_address("192.0.2.1"), 0}};
    };
    HttpsXmlClient client(answering, waiter);
    for (int i = 0; i < 100 * BlockingCall::max_abandoned; ++i)
        resolve(client, "desktop.test");
    *cancelling = false;
    std::string found;
    for (int i = 0; i < 1000 && found.empty(); ++i) // until the last thread has ended
        found = resolve(client, "desktop.test").result;
    EXPECT_EQ(found, "192.0.2.1");
}

TEST_F(LimitTest, ExceptionOnTheThreadIsAFailedLookUp) {
    const NameResolver::BlockingLookup failing = [](auto &&...) -> NameResolver::Endpoints {
        throw std::bad_alloc();
    };
    Client client(failing);
    EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::resolve_failed);
}

// The handshake, the wait for an answer and its writing down are cancelled through the public
// interface.
TEST_F(LimitTest, ACancelEndsTheLookUpTheConnectAndTheProxysPhase) {
    Client resolving(silent_.lookup());
    {
        const auto canceller = cancel_after(resolving, [&] { silent_.wait_for_lookups(1); });
        EXPECT_LT(resolve(resolving, "desktop.test").took, margin);
    }
    const FullBacklog full;
    Client connecting;
    const auto outcome = drive<ConnectResult>(connecting, [&](auto handler) {
        connecting.connect("127.0.0.1", true, handler, ample, full.port());
        connecting.cancel();
    });
    EXPECT_EQ(outcome.result.result, ConnectCode::cancelled);
    EXPECT_LT(outcome.took, margin);

    const ScriptedPeer proxy({{expect_request(), stall()}});
    HttpsXmlClient asking;
    asking.set_proxy(*parse_proxy("http://" + proxy.address(), nullptr, nullptr));
    const auto canceller = cancel_after(asking, [&proxy] {
        proxy.wait_for(0, [](const PeerRecord &seen) { return !seen.received.empty(); });
    });
    EXPECT_EQ(connect(asking, "broker.test:443").result.result, ConnectCode::cancelled);
}

/// Nothing waits between the last byte and the handler: what reads the answer listens as well.
TEST_F(LimitTest, ACancelEndsTheReadingOfALongAnswer) {
    const ScriptedPeer peer({good_script()});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    std::vector<ePOST_RESULT> told;
    const auto reader = [&told](const PostResult &result) {
        told.push_back(result.result);
        if (result.result == POST_RESULT_SUCCESS)
            throw Interrupted();
    };
    client.http_post_with_xml_path("/", small_xml, reader, ample);
    client.run_io(true);
    EXPECT_EQ(told, (std::vector{POST_RESULT_SUCCESS, POST_RESULT_CANCELLED}));
}

TEST_F(LimitTest, ACancelBetweenTwoOperationsEndsTheSecondOfOneConnection) {
    const ScriptedPeer peer({good_script()});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    client.cancel();
    EXPECT_EQ(post(client).result.result, POST_RESULT_CANCELLED);
    client.cancel();
    client.run_io(false); // and reaches no further connection, as the client shows in the end
}

// RFC 5246 section 7.4.1.1: a client may ignore a HelloRequest, and OpenSSL does for as long as
// there are any.
TEST_F(LimitTest, AHandshakeTakesNoMoreThanItsLimit) {
    const std::string request("\x16\x03\x03\x00\x04\x00\x00\x00\x00", 9);
    const ScriptedPeer peer({{send(repeated(request, (16 << 20) / request.size()))}});
    Client client;
    const auto outcome = connect(client, peer.address(), true, 0ms);
    EXPECT_EQ(outcome.result.result, ConnectCode::tls_handshake_failed);
    EXPECT_EQ(outcome.result.error_text, "excessive message size (SSL routines)");
    EXPECT_LT(client.report().traffic.received, 2u << 20);
}

TEST_F(LimitTest, ACancelIsHeardThoughTheSocketIsNeverEmptyOrNeverRead) {
    Client client;
    const Step cancel = [&client](PeerConnection &) -> boost::asio::awaitable<void> {
        client.cancel();
        co_return;
    };
    const std::string long_request(10 << 20, 'x');
    const struct {
        Script script;
        std::string_view request;
        bool sent;
    } rows[] = {
        {after_request({send_tickets(4000), cancel, send_tickets(40'000)}), small_xml, true},
        {{handshake(), expect_bytes(1), cancel, stall()}, long_request, false},
    };
    for (const auto &[script, request, sent] : rows) {
        const ScriptedPeer peer({script});
        ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
        EXPECT_EQ(post(client, request, 0ms).result.result, POST_RESULT_CANCELLED);
        EXPECT_EQ(client.report().reached(ConnectionPhase::wait), sent);
        EXPECT_LT(client.report().traffic.received, 2u << 20);
        client.report_to(std::make_shared<ConnectionReport>());
    }
}

} // namespace kavro
