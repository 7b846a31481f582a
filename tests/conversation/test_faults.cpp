#include "conversation/conversation.h"
#include "support/repeated.h"
#include "system.h"

#include <set>

using namespace conversation;
using broker_sim::Override;
using broker_sim::Scenario;
using test_support::repeated;

namespace {

Scenario open_door() {
    Scenario scenario = Scenario::demo();
    scenario.authentication.clear();
    return scenario;
}

std::string answer(const std::string &body, const std::string &headers = {}) {
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

TEST(Faults, WhatABrokerCanMakeUsHoldIsLimited) {
    const std::string good = "<kavro-client version=\"2.1\"><x/></kavro-client>";
    struct Row {
        const char *what;
        std::string raw;
    };
    const Row rows[] = {
        {"head", "HTTP/1.1 200 OK\r\n" + repeated("X-Filler: 0123456789\r\n", 10000) + "\r\n"},
        {"announced body", "HTTP/1.1 200 OK\r\nContent-Length: 67108865\r\n\r\n"},
        {"announced chunk",
         "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFF\r\n"},
        {"nesting", answer(repeated("<a>", 65) + repeated("</a>", 65))},
        {"deep nesting", answer(repeated("<a>", 100000))},
        {"cookie", answer(good, "Set-Cookie: a=" + std::string(5000, 'x') + "; Path=/\r\n")},
    };
    Conversation talk(open_door());
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    const std::size_t before = test_support::peak_memory();
    for (const auto &[what, raw] : rows) {
        Override override;
        override.match = {.request = "get-resource-list", .nth = 1};
        override.raw = raw;
        talk.broker.set_override(override);
        EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_MANGLED_RESPONSE) << what;
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "after " << what;
        talk.broker.clear_faults();
    }
    EXPECT_LT(test_support::peak_memory() - before, 64u * 1024 * 1024)
        << "the simulator's own copies included";
}

TEST(Faults, BrokerReportedErrors) {
    Conversation talk(open_door());
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    Override error;
    error.match.request = "get-resource-list";
    error.error_id = "ERR_CM_FAILED";
    error.result_str = "100%s broken %n\x7f[31m";
    error.detected_by = "CM";
    talk.broker.set_override(error);
    EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_CM_FAILED);
    EXPECT_EQ(talk.message(), "100%s broken %n\x7f[31m") << "to the caller as it is";
    EXPECT_NE(Log::text().find("ERR_CM_FAILED Detected by: CM.: \"100%s broken %n\\x7F[31m\""),
              std::string::npos)
        << Log::text();
    talk.broker.clear_faults();
    talk.broker.set_override({.match = {.request = "get-resource-list"}, .status = 407});
    EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_HTTP_NOT_OK);
    EXPECT_EQ(talk.message(), "HTTP status 407: a proxy wants a log-in");
}

/// All other steps have half a minute and more.
TEST(Faults, EveryStepEndsAtItsOwnLimit) {
    using broker_sim::Stage;
    const auto list = [](Conversation &talk) { return talk.list(); };
    const struct {
        uint32_t limit;
        Stage stage;
        kavro_broker_result (*send)(Conversation &);
    } rows[] = {
        {KAVRO_BROKER_LIMIT_CONNECT, Stage::accept, list},
        {KAVRO_BROKER_LIMIT_CONNECT, Stage::handshake, list},
        {KAVRO_BROKER_LIMIT_REQUEST, Stage::response, list},
        {KAVRO_BROKER_LIMIT_REQUEST, Stage::response,
         [](Conversation &talk) {
             return kavro_broker_perform_desktop_operation(talk.handle, "d", 2);
         }},
        {KAVRO_BROKER_LIMIT_REQUEST, Stage::response,
         [](Conversation &talk) {
             kavro_broker_set_locale(talk.handle, "de_DE"); // and so greets again
             return kavro_broker_send_accept_disclaimer(talk.handle, 1);
         }},
        {KAVRO_BROKER_LIMIT_AUTHENTICATION, Stage::response,
         [](Conversation &talk) { return kavro_broker_send_accept_disclaimer(talk.handle, 1); }},
        {KAVRO_BROKER_LIMIT_AUTHENTICATION, Stage::response,
         [](Conversation &talk) {
             return kavro_broker_send_new_password(talk.handle, "u", "d", "o", "n", "n");
         }},
    };
    for (const auto &[limit, stage, send] : rows) {
        Conversation talk(open_door());
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
        talk.broker.inject({.stage = stage, .ending = broker_sim::Ending::stall});
        EXPECT_EQ(kavro_broker_set_time_limit(talk.handle, limit, 100), KAVRO_BROKER_OK);
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(send(talk), KAVRO_BROKER_ERR_TIMEOUT);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15)) << limit;
    }
}

kavro_broker_handle asked_again; ///< by the callbacks of the next test
std::set<kavro_broker_result> second_answers;

TEST(Faults, RequestsFromCallbacksAreRefusedAtEveryLine) {
    Conversation talk(open_door());
    asked_again = talk.handle;
    static const auto again = [] {
        kavro_broker_desktop_list list = nullptr;
        second_answers.insert(kavro_broker_request_desktop_list(asked_again, &list));
        second_answers.insert(kavro_broker_clear_session(asked_again));
    };
    kavro_broker_set_session_log_id_function([](const char *) { again(); });
    kavro_broker_set_log_function(
        [](int32_t, int32_t, int32_t, const char *, va_list) { again(); });
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
    EXPECT_EQ(second_answers, std::set<kavro_broker_result>{KAVRO_BROKER_ERR_INVALID_STATE});
    kavro_broker_set_session_log_id_function([](const char *) {});
    const Log log; // in the place of the function above
}

} // namespace
