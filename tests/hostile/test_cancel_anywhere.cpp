#include "conversation/conversation.h"
#include "hostile/rounds.h"
#include "support/scripted_peer.h"

#include <atomic>
#include <iostream>
#include <random>

using namespace conversation;
using namespace test_support;

namespace {

TEST(CancelAnywhere, IsEitherInTimeOrWithoutEffect) {
    constexpr int slices = 256;
    Conversation talk(open_door());
    std::mt19937 random(20261121);
    const int rounds = hostile::rounds(400);
    auto usual = 0us; // a whole request with its greeting, as long as the last good one
    int cancelled = 0;
    for (int round = 0; round < rounds; ++round) {
        const bool disturbed = round % 4 != 0;
        const auto moment = usual * (random() % slices) / slices;
        kavro_broker_set_locale(talk.handle, "en_US"); // greet again
        std::atomic<bool> started = false;
        std::thread canceller([&] {
            while (!started)
                std::this_thread::yield();
            const auto start = Clock::now();
            while (Clock::now() - start < moment)
                std::this_thread::yield();
            if (disturbed)
                kavro_broker_cancel(talk.handle);
        });
        started = true;
        const auto start = Clock::now();
        const auto result = talk.list();
        const auto took =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
        canceller.join();
        Log::take();
        ASSERT_LT(took, margin) << "round " << round;
        if (!disturbed) {
            ASSERT_EQ(result, KAVRO_BROKER_OK) << "after round " << round << ": " << talk.message();
            usual = took;
            talk.broker.clear_recording();
        } else if (result != KAVRO_BROKER_OK) {
            ASSERT_EQ(result, KAVRO_BROKER_ERR_CANCELLED) << talk.message() << ", round " << round;
            ++cancelled;
        }
    }
    std::cout << cancelled << " of " << rounds << " requests were cancelled\n";
    EXPECT_GT(cancelled, rounds / 16); // fewer, the busier the machine is
}

/// Wherever that is, what asks for nothing there goes through, the long answer to the list is not
/// written down any more, and the session is still there.
TEST(CancelAnywhere, FromInsideTheLogFunction) {
    const std::pair<const char *, kavro_broker_result (*)(Handle)> rows[] = {
        {"Client-Log-ID", list},
        {"Received XML", list},
        {"Sending XML", kavro_broker_clear_session}};
    const std::string long_answer =
        http_ok(broker_message("<get-resource-list-resp><x>" + std::string(1 << 20, '&') +
                               "</x></get-resource-list-resp>"));
    for (const auto &[awaited, send] : rows) {
        SCOPED_TRACE(awaited);
        Conversation talk(open_door());
        ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
        talk.broker.set_override({.match = {.request = "get-resource-list"}, .raw = long_answer});
        Log::hook = [&talk, &awaited = awaited](const std::string &line) {
            EXPECT_EQ(talk.message(), "");
            EXPECT_EQ(line.find("<x>"), std::string::npos);
            if (line.starts_with(awaited))
                kavro_broker_cancel(talk.handle);
        };
        EXPECT_EQ(send(talk.handle), KAVRO_BROKER_ERR_CANCELLED);
        const Log log;
        talk.broker.clear_faults();
        talk.broker.clear_recording();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
        EXPECT_NE(talk.broker.requests().at(0).head.find("\r\nCookie: "), std::string::npos);
    }
}

} // namespace
