#include "conversation/short_deadlines.h"

#include <atomic>
#include <random>

using namespace conversation;

namespace {

/// Promised are 200 ms; the rest is for slow machines and sanitizers.
constexpr auto promptly = 1s;

TEST(Cancel, EndsARequestWhereverTheBrokerFallsSilent) {
    for (const auto &[where, fault] : silences()) {
        SCOPED_TRACE(where);
        Conversation talk(without_authentication(), handle_with_deadline(30s));
        talk.broker.inject(fault);
        std::atomic<kavro_broker_result> result = KAVRO_BROKER_OK;
        std::thread request([&] { result = talk.list(); });

        const bool in_handshake = fault.stage == broker_sim::Stage::handshake;
        const bool in_greeting = fault.match.request == "hello";
        if (in_handshake)
            EXPECT_TRUE(talk.broker.wait_for_connections(1, 10s));
        else
            EXPECT_TRUE(talk.broker.wait_for_requests(in_greeting ? 1 : 2, 10s));
        const auto start = Clock::now();
        kavro_broker_cancel(talk.handle);
        request.join();
        EXPECT_EQ(result, KAVRO_BROKER_ERR_CANCELLED);
        EXPECT_LT(since(start), promptly);

        talk.broker.clear_faults();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "afterwards";
    }
}

TEST(Cancel, AtAnyMomentIsEitherInTimeOrWithoutEffect) {
    Conversation talk(without_authentication());
    std::mt19937 random(20261121);
    for (int round = 0; round < 150; ++round) {
        std::atomic<bool> started = false;
        kavro_broker_result result = KAVRO_BROKER_OK;
        std::thread request([&] {
            started = true;
            result = talk.list();
        });
        while (!started)
            std::this_thread::yield();
        const auto moment = Clock::now() + std::chrono::microseconds(random() % 8000);
        while (Clock::now() < moment)
            std::this_thread::yield();
        kavro_broker_cancel(talk.handle);
        request.join();
        EXPECT_TRUE(result == KAVRO_BROKER_OK || result == KAVRO_BROKER_ERR_CANCELLED)
            << result << " in round " << round << ": " << talk.message();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "after round " << round;
    }
}

TEST(Cancel, FromInsideTheLogFunctionDoesNotDeadlock) {
    static kavro_broker_handle talking;
    Conversation talk(without_authentication());
    talking = talk.handle;
    kavro_broker_set_log_function([](int32_t, int32_t, int32_t, const char *format, va_list) {
        char text[16];
        size_t length = sizeof text;
        kavro_broker_get_broker_error_message(talking, text, &length);
        if (std::string_view(format).starts_with("Client-Log-ID"))
            kavro_broker_cancel(talking);
    });
    EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_CANCELLED);
    Log::start();
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
}

TEST(Threads, HandlesAreIndependent) {
    Conversation talk(without_authentication());
    std::vector<std::thread> threads;
    std::atomic<int> lists = 0;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            kavro_broker_handle handle = nullptr;
            kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle);
            kavro_broker_set_broker_address(handle, talk.broker.address().c_str(),
                                            std::to_string(talk.broker.port()).c_str());
            kavro_broker_set_client_info(handle, "thread", "1", "Linux");
            for (int request = 0; request < 5; ++request) {
                kavro_broker_desktop_list list = nullptr;
                if (kavro_broker_request_desktop_list(handle, &list) == KAVRO_BROKER_OK)
                    ++lists;
                kavro_broker_free_desktop_list(list);
            }
            kavro_broker_free(handle);
        });
    }
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(lists, 40);
}

} // namespace
