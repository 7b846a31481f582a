#include "conversation/conversation.h"
#include "support/repeated.h"
#include "support/requests.h"
#include "support/scripted_peer.h"
#include "system.h"

#include <set>
#include <thread>

using namespace conversation;
using namespace test_support;

namespace {

TEST(Faults, WhatABrokerCanMakeUsHoldIsLimited) {
    const std::string good = "<kavro-client version=\"2.1\"><x/></kavro-client>";
    const std::pair<const char *, std::string> rows[] = {
        {"head", "HTTP/1.1 200 OK\r\n" + repeated("X-Filler: 0123456789\r\n", 10000) + "\r\n"},
        {"announced body", "HTTP/1.1 200 OK\r\nContent-Length: 67108865\r\n\r\n"},
        {"announced chunk",
         "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFF\r\n"},
        {"nesting", http_ok(repeated("<a>", 65) + repeated("</a>", 65))},
        {"deep nesting", http_ok(repeated("<a>", 100000))},
        {"cookie", http_ok(good, "Set-Cookie: a=" + std::string(5000, 'x') + "; Path=/\r\n")},
    };
    Conversation talk(open_door());
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    const std::size_t before = peak_memory();
    for (const auto &[what, raw] : rows) {
        talk.broker.set_override({.match = {.request = "get-resource-list", .nth = 1}, .raw = raw});
        EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_MANGLED_RESPONSE) << what;
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "after " << what;
        talk.broker.clear_faults();
    }
    EXPECT_LT(peak_memory() - before, 64u * 1024 * 1024) << "the simulator's own copies included";
}

TEST(Faults, BrokerReportedErrors) {
    Conversation talk(open_door());
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    talk.broker.set_override({.match = {.request = "get-resource-list"}, .status = 407});
    EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_HTTP_NOT_OK);
    EXPECT_EQ(talk.message(), "HTTP status 407: a proxy wants a log-in");
    talk.broker.set_override(
        {.match = {.request = "authenticate"},
         .raw = http_ok(broker_message(
             "<authenticate-resp><to-client-variables><variable><name>hint</name>"
             "<value>blue</value></variable></to-client-variables><result><result-id>"
             "AUTH_FAILED_ACCESS_DENIED</result-id><result-str/></result></authenticate-resp>"))});
    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland"),
              KAVRO_BROKER_ERR_AUTH_ACCESS_DENIED);
    uint32_t hints = 0;
    kavro_broker_get_num_auth_to_client_variables(talk.handle, &hints);
    EXPECT_EQ(hints, 1u) << "though nothing new is asked for";
}

/// All other steps have half a minute and more.
TEST(Faults, EveryStepEndsAtItsOwnLimit) {
    using broker_sim::Stage;
    const struct {
        uint32_t limit;
        Stage stage;
        kavro_broker_result (*send)(kavro_broker_handle);
    } rows[] = {
        {KAVRO_BROKER_LIMIT_CONNECT, Stage::accept, list},
        {KAVRO_BROKER_LIMIT_CONNECT, Stage::handshake, list},
        {KAVRO_BROKER_LIMIT_REQUEST, Stage::response, list},
        {KAVRO_BROKER_LIMIT_REQUEST, Stage::response, request_named("operate")},
        {KAVRO_BROKER_LIMIT_REQUEST, Stage::response,
         [](Handle handle) {
             kavro_broker_set_locale(handle, "de_DE"); // and so greets again
             return request_named("accept")(handle);
         }},
        {KAVRO_BROKER_LIMIT_AUTHENTICATION, Stage::response, request_named("accept")},
        {KAVRO_BROKER_LIMIT_AUTHENTICATION, Stage::response, request_named("new password")},
    };
    for (const auto &[limit, stage, send] : rows) {
        Conversation talk(open_door());
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
        talk.broker.inject({.stage = stage, .ending = broker_sim::Ending::stall});
        EXPECT_EQ(kavro_broker_set_time_limit(talk.handle, limit, 100), KAVRO_BROKER_OK);
        const auto begin = Clock::now();
        EXPECT_EQ(send(talk.handle), KAVRO_BROKER_ERR_TIMEOUT);
        EXPECT_LT(Clock::now() - begin, 15s) << limit;
    }
}

/// Hears what its handle says, and asks for something at every word.
struct Heard {
    kavro_broker_handle handle;
    std::vector<std::string> lines{};
    std::set<kavro_broker_result> answers{};

    void ask() {
        answers.insert(kavro_broker_clear_session(handle));
        for (const auto &[name, send] : all_requests) {
            answers.insert(send(handle));
            std::thread([&, send = send] { answers.insert(send(handle)); }).join();
        }
    }
    static void hear(void *context, int32_t, int32_t, int32_t, const char *text) {
        auto &heard = *static_cast<Heard *>(context);
        heard.lines.push_back(text);
        heard.ask();
    }
};

TEST(Faults, AMessageFunctionHearsItsHandleAndNobodyElseDoes) {
    Conversation own(open_door()), other(open_door());
    static Heard *listener;
    Heard heard{own.handle};
    listener = &heard;
    const auto lines_of = [](Conversation &talk) {
        Log::lines().clear();
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << talk.message();
        return Log::lines().size();
    };
    kavro_broker_set_session_log_id_function([](const char *) { listener->ask(); });
    EXPECT_EQ(own.list(), KAVRO_BROKER_OK);
    EXPECT_FALSE(heard.answers.empty()) << "the session has got its id";
    kavro_broker_set_session_log_id_function([](const char *) {});
    const std::size_t usual = lines_of(own);
    kavro_broker_set_message_function(own.handle, Heard::hear, &heard);
    EXPECT_EQ(lines_of(own), 0u);
    EXPECT_EQ(heard.lines.size(), usual);
    EXPECT_GT(lines_of(other), usual) << "which greets as well";
    EXPECT_EQ(heard.lines.size(), usual);

    std::vector<uint8_t> der(4096);
    std::size_t size = der.size();
    kavro_broker_get_broker_certificate(own.handle, 0, der.data(), &size);
    EXPECT_EQ(kavro_broker_add_trust_anchor(own.handle, der.data(), size), KAVRO_BROKER_OK);
    EXPECT_GT(heard.lines.size(), usual) << "of a call that is no request";
    EXPECT_EQ(heard.answers, std::set<kavro_broker_result>{KAVRO_BROKER_ERR_INVALID_STATE});

    kavro_broker_set_broker_address(own.handle, "\xFF.test", "1");
    heard.lines.clear();
    EXPECT_NE(ask_method(own.handle), KAVRO_BROKER_OK);
    EXPECT_NE(heard.lines.at(1).find("\xEF\xBF\xBD.test"), std::string::npos) << heard.lines.at(1);
    kavro_broker_set_message_function(own.handle, nullptr, nullptr);
    Log::lines().clear();
    EXPECT_NE(ask_method(own.handle), KAVRO_BROKER_OK);
    EXPECT_EQ(Log::lines().size(), heard.lines.size());
}

} // namespace
