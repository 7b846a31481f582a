#include "conversation/conversation.h"
#include "hostile/rounds.h"

#include <atomic>
#include <iostream>
#include <random>

using namespace conversation;

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

TEST(CancelAnywhere, FromInsideTheLogFunctionDoesNotDeadlock) {
    static kavro_broker_handle talking;
    Conversation talk(open_door());
    talking = talk.handle;
    kavro_broker_set_log_function([](int32_t, int32_t, int32_t, const char *format, va_list) {
        char text[16];
        size_t length = sizeof text;
        kavro_broker_get_broker_error_message(talking, text, &length);
        if (std::string_view(format).starts_with("Client-Log-ID"))
            kavro_broker_cancel(talking);
    });
    EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_CANCELLED);
    const Log log;
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
}

} // namespace
