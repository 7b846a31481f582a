#include "full_backlog.h"
#include "io_client.h"
#include "io_silent_names.h"

#include <thread>

namespace kavro {

namespace {

using Clock = std::chrono::steady_clock;

/// Cancels a client from a thread of its own as soon as a condition holds.
class Canceller {
public:
    template <class WaitForIt>
    Canceller(HttpsXmlClient &client, WaitForIt wait_for_it)
        : thread_([this, &client, wait_for_it] {
              wait_for_it();
              cancelled_at_ = Clock::now();
              client.cancel();
          }) {}
    ~Canceller() { EXPECT_LT(Clock::now() - when(), margin); }

private:
    Clock::time_point when() {
        thread_.join();
        return cancelled_at_;
    }

    Clock::time_point cancelled_at_;
    std::thread thread_;
};

auto when(const ScriptedPeer &peer, bool (*condition)(const PeerRecord &)) {
    return [&peer, condition] { EXPECT_TRUE(peer.wait_for(0, condition)); };
}

class CancelTest : public TransportTest {};

} // namespace

TEST_F(CancelTest, EndsTheLookUp) {
    const SilentNames silent;
    HttpsXmlClient client(silent.lookup());
    {
        const Canceller canceller(client, [&] { silent.wait_for_lookups(1); });
        EXPECT_EQ(connect(client, "broker.test:443", true).result.result, ConnectCode::cancelled);
    }
    {
        const Canceller canceller(client, [&] { silent.wait_for_lookups(2); });
        EXPECT_EQ(resolve(client, "desktop.test").result, "");
    }
    expect_usable(client);
}

TEST_F(CancelTest, EndsTheTcpConnect) {
    const FullBacklog silent;
    HttpsXmlClient client;
    const std::string address = "127.0.0.1:" + std::to_string(silent.endpoint().port());
    const auto outcome = drive<ConnectResult>(client, [&](auto handler) {
        client.connect(address, true, handler, ample);
        const Canceller canceller(client, [] {});
    });
    EXPECT_EQ(outcome.result.result, ConnectCode::cancelled);
    EXPECT_LT(outcome.took, margin);
    expect_usable(client);
}

TEST_F(CancelTest, EndsTheHandshake) {
    const ScriptedPeer peer({{expect_bytes(1), stall()}});
    HttpsXmlClient client;
    {
        const Canceller canceller(
            client, when(peer, [](const PeerRecord &seen) { return !seen.received.empty(); }));
        EXPECT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::cancelled);
    }
    expect_usable(client);
}

TEST_F(CancelTest, EndsThePost) {
    const auto has_begun = [](const PeerRecord &seen) { return !seen.received.empty(); };
    const auto is_asked = [](const PeerRecord &seen) { return !seen.requests.empty(); };
    const std::string answer = http_ok(small_xml);
    const struct {
        const char *name;
        Script script;
        bool (*condition)(const PeerRecord &);
        std::size_t padding;
    } cases[] = {
        {"writing", {handshake(), expect_bytes(1), stall()}, has_begun, 10 << 20},
        {"reading", {handshake(), expect_request(), stall()}, is_asked, 0},
        {"head", {handshake(), expect_request(), send(answer.substr(0, 9)), stall()}, is_asked, 0},
        {"body",
         {handshake(), expect_request(), send(answer.substr(0, answer.size() - 2)), stall()},
         is_asked,
         0},
    };
    for (const auto &[name, script, condition, padding] : cases) {
        SCOPED_TRACE(name);
        const ScriptedPeer peer({script});
        HttpsXmlClient client;
        ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
        {
            const Canceller canceller(client, when(peer, condition));
            const std::string xml = "<a>" + std::string(padding, 'x') + "</a>";
            EXPECT_EQ(post(client, xml).result.result, POST_RESULT_CANCELLED);
        }
        expect_usable(client);
    }
}

TEST_F(CancelTest, BetweenTwoOperationsEndsTheSecond) {
    const ScriptedPeer peer({good_script()});
    HttpsXmlClient client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    client.cancel();
    EXPECT_EQ(post(client).result.result, POST_RESULT_CANCELLED);
    expect_usable(client);
}

TEST_F(CancelTest, WithNothingRunningDoesNotReachTheNextConnect) {
    HttpsXmlClient client;
    client.cancel();
    client.run_io(false);
    expect_usable(client);
}

// Whoever disconnects in the middle of connecting wants no further address to be tried.
TEST_F(CancelTest, DisconnectEndsWhatIsUnderWayAsCancelled) {
    const FullBacklog silent;
    const ScriptedPeer peer({{expect_bytes(1), stall()}});
    const NameResolver::Endpoints endpoints{silent.endpoint(), peer.endpoint()};
    HttpsXmlClient client([endpoints](const std::string &, const std::string &,
                                      boost::system::error_code &) { return endpoints; });
    for (const std::string &address : {std::string("broker.test:443"), peer.address()}) {
        SCOPED_TRACE(address);
        CapturedLog::lines().clear();
        const std::ptrdiff_t step = address == peer.address() ? 1 : 2; // the first is the look-up
        const std::function<void()> disconnect_in_step = [&] {
            if (times_logged("Deadline Timer timeout set to 5000 milliseconds.") == step)
                client.disconnect();
            else
                client.post(disconnect_in_step);
        };
        const auto outcome = drive<ConnectResult>(client, [&](auto handler) {
            client.connect(address, false, handler, ample);
            client.post(disconnect_in_step);
        });
        EXPECT_EQ(outcome.result.result, ConnectCode::cancelled);
        EXPECT_LT(outcome.took, margin);
    }
    EXPECT_LE(peer.connection_count(), 1u);
    expect_usable(client);
}

// Wherever the cancel lands, the operations end once each, as done or as cancelled.
TEST_F(CancelTest, AtAnyMomentOfAnExchange) {
    const ScriptedPeer peer({good_script()});
    HttpsXmlClient client;
    std::chrono::microseconds delay{0};
    int done = 0;
    for (bool too_late = false; !too_late; delay += 100us) {
        const auto begin = Clock::now();
        std::thread second([&client, begin, delay] {
            while (Clock::now() - begin < delay)
                std::this_thread::yield();
            client.cancel();
        });
        const ConnectCode connected = connect(client, peer.address(), true).result.result;
        if (connected == ConnectCode::connected) {
            const ePOST_RESULT posted = post(client).result.result;
            EXPECT_TRUE(posted == POST_RESULT_SUCCESS || posted == POST_RESULT_CANCELLED) << posted;
            done += posted == POST_RESULT_SUCCESS ? 1 : 0;
        } else {
            EXPECT_EQ(connected, ConnectCode::cancelled);
        }
        second.join();
        client.run_io(false);
        too_late = done >= 5;
    }
    expect_usable(client);
}

} // namespace kavro
