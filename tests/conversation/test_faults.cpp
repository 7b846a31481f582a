#include "conversation/conversation.h"
#include "system.h"

#include <chrono>

using namespace conversation;
using broker_sim::Ending;
using broker_sim::Fault;
using broker_sim::Override;
using broker_sim::Scenario;

namespace {

Scenario open_door() {
    Scenario scenario = Scenario::demo();
    scenario.authentication.clear();
    return scenario;
}

/// A fault in the answer to the list, what the caller is told, and that the next request is well.
TEST(Faults, OnTheWayOfAnAnswer) {
    struct Row {
        const char *what;
        Fault fault;
        kavro_broker_result result;
    };
    const Row rows[] = {
        {"reset at once", {.ending = Ending::reset}, KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE},
        {"reset in the head",
         {.ending = Ending::reset, .at_byte = 30},
         KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE},
        {"end in the head",
         {.ending = Ending::fin, .at_byte = 30},
         KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE},
        {"end in the body",
         {.ending = Ending::close, .at_byte = 700},
         KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE},
        {"records of one byte", {.record_size = 1}, KAVRO_BROKER_OK},
        {"odd chunks", {.chunks = {1, 7, 3, 250, 1}}, KAVRO_BROKER_OK},
        {"wrong status", {.status_line = "HTTP/1.1 500 Sorry"}, KAVRO_BROKER_ERR_HTTP_NOT_OK},
        {"redirect", {.status_line = "HTTP/1.1 302 Found"}, KAVRO_BROKER_ERR_HTTP_NOT_OK},
        {"old version", {.status_line = "HTTP/1.0 200 OK"}, KAVRO_BROKER_ERR_MANGLED_RESPONSE},
        {"lower case", {.status_line = "http/1.1 200 fine"}, KAVRO_BROKER_OK},
        {"bad XML", {.bad_xml = true}, KAVRO_BROKER_ERR_MANGLED_RESPONSE},
    };
    Conversation talk(open_door());
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    for (auto row : rows) {
        row.fault.match.request = "get-resource-list";
        row.fault.match.nth = 1;
        talk.broker.inject(row.fault);
        EXPECT_EQ(talk.list(), row.result) << row.what;
        EXPECT_EQ(talk.list(), KAVRO_BROKER_OK) << "after " << row.what;
        talk.broker.clear_faults();
    }
}

std::string answer(const std::string &body, const std::string &headers = {}) {
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

std::string repeated(const std::string &text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

TEST(Faults, WhatABrokerCanMakeUsHoldIsLimited) {
    const std::string good = "<kavro-client version=\"2.1\"><x/></kavro-client>";
    struct Row {
        const char *what;
        std::string raw;
    };
    const Row rows[] = {
        {"head", "HTTP/1.1 200 OK\r\n" + repeated("X-Filler: 0123456789\r\n", 10000) + "\r\n"},
        {"head without line end", "HTTP/1.1 200 OK" + std::string(200000, ' ')},
        {"announced body", "HTTP/1.1 200 OK\r\nContent-Length: 67108865\r\n\r\n"},
        {"impossible length", "HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551617\r\n\r\n"},
        {"announced chunk",
         "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFF\r\n"},
        {"nesting", answer(repeated("<a>", 65) + repeated("</a>", 65))},
        {"deep nesting", answer(repeated("<a>", 100000))},
        {"cookie", answer(good, "Set-Cookie: a=" + std::string(5000, 'x') + "; Path=/\r\n")},
        {"no length", "HTTP/1.1 200 OK\r\n\r\n" + good},
        {"zero byte", answer(std::string("<kavro-client>\0</kavro-client>", 30))},
        {"wide characters", answer(std::string("<\0k\0/\0>\0", 8))},
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
    error.result_str = "100%s broken %n\x1b[31m";
    error.detected_by = "CM";
    talk.broker.set_override(error);
    EXPECT_EQ(talk.list(), KAVRO_BROKER_ERR_CM_FAILED);
    EXPECT_EQ(talk.message(), "100%s broken %n\x1b[31m") << "to the caller as it is";
    EXPECT_NE(Log::text().find("ERR_CM_FAILED Detected by: CM.: \"100%s broken %n\\x1B[31m\""),
              std::string::npos)
        << Log::text();
}

} // namespace
