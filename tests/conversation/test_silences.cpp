#include "conversation/short_deadlines.h"

#include <atomic>

using namespace conversation;

namespace {

/// The ways in which a broker can keep its client waiting, by where in a request.
struct Silence {
    const char *where;
    broker_sim::Fault fault;
};

std::vector<Silence> silences() {
    using broker_sim::Ending;
    using broker_sim::Stage;
    return {
        {"before the handshake", {.stage = Stage::handshake, .ending = Ending::stall}},
        {"before the answer to the greeting",
         {.match = {.request = "hello"}, .ending = Ending::stall}},
        {"before the answer", {.match = {.request = "get-resource-list"}, .ending = Ending::stall}},
        {"in the head",
         {.match = {.request = "get-resource-list"}, .ending = Ending::stall, .at_byte = 20}},
        {"in the body",
         {.match = {.request = "get-resource-list"}, .ending = Ending::stall, .at_byte = 700}},
        {"between drops",
         {.match = {.request = "get-resource-list"}, .drip_bytes = 1, .drip_every = 20ms}},
    };
}

TEST(Silence, EndsWithTheDeadline) {
    constexpr auto deadline = 400ms;
    for (const auto &[where, fault] : silences()) {
        SCOPED_TRACE(where);
        Conversation talk(without_authentication(), handle_with_deadline(deadline));
        talk.broker.inject(fault);
        const auto start = Clock::now();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_TIMEOUT);
        EXPECT_GE(since(start), deadline);
        EXPECT_LT(since(start), deadline + margin);

        talk.broker.clear_faults();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "afterwards";
    }
}

/// Promised are 200 ms; the rest is for slow machines and sanitizers.
constexpr auto promptly = 1s;

TEST(Silence, EndsWithACancel) {
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

} // namespace
