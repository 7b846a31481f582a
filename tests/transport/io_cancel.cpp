#include "io_client.h"
#include "io_names.h"
#include "support/unreachable.h"

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

HttpsXmlClient *cancelled_while_logging = nullptr;

__attribute__((format(printf, 4, 0))) void cancel_at_answer(std::int32_t, std::int32_t,
                                                            std::int32_t, const char *format,
                                                            std::va_list arguments) {
    const std::string line = format_text(format, arguments);
    if (line.starts_with("Received XML"))
        cancelled_while_logging->cancel();
    EXPECT_FALSE(line.starts_with("<list>")) << "the answer is no longer shown";
}

/// The handshake and the wait for an answer are cancelled through the public interface.
class CancelTest : public TransportTest {};

} // namespace

TEST_F(CancelTest, EndsTheLookUp) {
    const SilentNames silent;
    Client client(silent.lookup());
    {
        const Canceller canceller(client, [&] { silent.wait_for_lookups(1); });
        EXPECT_EQ(connect(client, "broker.test:443", true).result.result, ConnectCode::cancelled);
    }
    const Canceller canceller(client, [&] { silent.wait_for_lookups(2); });
    EXPECT_EQ(resolve(client, "desktop.test").result, "");
}

TEST_F(CancelTest, EndsTheTcpConnect) {
    const FullBacklog silent;
    Client client;
    const auto outcome = drive<ConnectResult>(client, [&](auto handler) {
        client.connect("127.0.0.1", true, handler, ample, silent.port());
        client.cancel();
    });
    EXPECT_EQ(outcome.result.result, ConnectCode::cancelled);
    EXPECT_LT(outcome.took, margin);
}

TEST_F(CancelTest, EndsTheWriting) {
    const ScriptedPeer peer({{handshake(), expect_bytes(1), stall()}});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    const Canceller canceller(client, [&peer] {
        peer.wait_for(0, [](const PeerRecord &seen) { return !seen.received.empty(); });
    });
    EXPECT_EQ(post(client, std::string(10 << 20, 'x')).result.result, POST_RESULT_CANCELLED);
}

/// Nothing waits between the last byte and the handler: the writing down listens as well.
TEST_F(CancelTest, EndsTheWritingDownOfALongAnswer) {
    const ScriptedPeer peer({answering("<list>" + std::string(1 << 20, '&') + "</list>")});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    cancelled_while_logging = &client;
    set_log_function(cancel_at_answer);
    EXPECT_EQ(post(client).result.result, POST_RESULT_CANCELLED);
}

TEST_F(CancelTest, BetweenTwoOperationsEndsTheSecond) {
    const ScriptedPeer peer({good_script()});
    Client client;
    ASSERT_EQ(connect(client, peer.address(), true).result.result, ConnectCode::connected);
    client.cancel();
    EXPECT_EQ(post(client).result.result, POST_RESULT_CANCELLED);
}

TEST_F(CancelTest, WithNothingRunningDoesNotReachTheNextConnect) {
    Client client;
    client.cancel();
    client.run_io(false);
}

} // namespace kavro
