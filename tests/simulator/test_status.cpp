// What the status page is told, and who is told it.
#include "broker.h"
#include "status_board.h"
#include "status_server.h"
#include "wire_client.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>

using namespace broker_sim;
using namespace std::chrono_literals;
using nlohmann::json;
using testing::HasSubstr;
using namespace nlohmann::literals;

namespace {

TEST(Status, TellsWhatHappenedButNoSecret) {
    Simulator simulator(
        {.users = {{.username = "alice", .password = "wonderland", .domain = "D"}},
         .authentication = {{.methods = {"password"}}},
         .desktops = {{.name = "Office", .id = "office", .state = "POWERED_OFF"}},
         .overrides = {{.match = {.request = "bye", .nth = 1}, .status = 503, .body = "down"}},
         .faults = {{.match = {.request = "get-resource-list"}, .ending = Ending::reset},
                    {.match = {.request = "authenticate"}, .delay = 30ms, .record_size = 16},
                    {.match = {.connection = 2}, .stage = Stage::handshake, .ending = Ending::fin}},
         .direct_host = Listener{}});
    simulator.watch("a test");

    const std::string hello = converse(simulator, http_request("<hello/>")).text;
    const std::string cookie = hello.substr(hello.find("JSESSIONID="), 11 + 32);
    for (const char *const message :
         {"<never-gets-so-far/>",
          "<authenticate method='password'><username>alice</username><domain>D</domain>"
          "<password>wonderland</password></authenticate>",
          "<get-resource-list/>",
          "<perform-operation><resource-id>office</resource-id><operation>CMD_PWR_UP</operation>"
          "</perform-operation>",
          "<bye/>", "<unknown\xff/>", "no message"})
        converse(simulator, http_request(message, "other=1; " + cookie + ";z=2"));

    const std::string text = simulator.status();
    const json status = json::parse(text);
    const json rows = R"([
        [1, "hello", "HTTP 200", true, {}],
        [2, "", "", false, {"stage": "handshake", "ending": "fin"}],
        [3, "authenticate", "AUTH_SUCCESSFUL_AND_COMPLETE", true,
         {"delay_ms": 30, "record_size": 16}],
        [4, "get-resource-list", "", false, {"ending": "reset"}],
        [5, "perform-operation", "OP_SUCCESSFUL", true, {}],
        [6, "bye", "HTTP 503", true, {}],
        [7, "unknown\ufffd", "ERR_UNSUPPORTED_REQUEST", true, {}],
        [8, "", "ERR_INVALID_MISSING_MSG_CONTENT", true, {}]])"_json;
    json told = json::array();
    for (const json &row : status["requests"])
        told.push_back({row["connection"], row["request"], row["result"],
                        row["duration_ms"].is_number(), row["fault"]});
    EXPECT_EQ(told, rows);
    EXPECT_GE(status["requests"][2]["duration_ms"], 30);
    EXPECT_EQ(status["desktops"],
              (json{{{"name", "Office"}, {"id", "office"}, {"state", "POWERED_ON"}}}));
    const json &second = status["connections"][1];
    EXPECT_EQ(second["open"], false);
    EXPECT_EQ(second["requests"], 0) << "it ended before";
    EXPECT_EQ(status["connections"][2]["requests"], 1);
    ASSERT_EQ(status["sessions"].size(), 1u);
    EXPECT_EQ(status["sessions"][0]["user"], "alice");
    EXPECT_EQ(status["sessions"][0]["state"], "authenticated");
    EXPECT_EQ(status["sessions"][0]["id"], cookie.substr(11, 6));
    EXPECT_EQ(status["servers"][0]["connections"], 8);
    EXPECT_EQ(status["servers"][1]["port"], simulator.port(server_name::direct_host));
    EXPECT_EQ(status["requests"][2]["xml"],
              "    <username> *****</username>\n    <password> *****</password>\n");
    for (const std::string &secret : {std::string("wonderland"), cookie.substr(11, 7)})
        EXPECT_EQ(text.find(secret), text.npos);
}

TEST(Status, ForgetsTheOldest) {
    BrokerState state{{.desktops = generate_desktops({.name = "{n}", .id = "{n}"}, 700)}};
    for (int i = 0; i < 700; ++i)
        state.sessions.emplace(random_id(), Session{});
    StatusBoard board("a test");
    for (unsigned i = 1; i <= 700; ++i)
        board.add({server_name::broker, i, "hello"}, "", {});
    for (const std::uint64_t number : {0, 200, 201, 700})
        board.sent(number);

    const json status = json::parse(board.json(state, {}));
    const json &requests = status["requests"];
    EXPECT_EQ(requests.front()["number"], 201);
    EXPECT_EQ(requests.back()["connection"], 700);
    EXPECT_EQ(std::ranges::count_if(requests,
                                    [](const json &row) { return row["duration_ms"].is_number(); }),
              2);
    for (const char *const list : {"requests", "sessions", "desktops"}) {
        EXPECT_EQ(status[list].size(), 500u) << list;
        EXPECT_EQ(status["totals"][list], 700) << list;
    }
}

TEST(Sessions, EndWhenNobodyUsesThem) {
    Broker broker({.session_idle = 1h});
    for (const auto &[id, age] : {std::pair("old", 61min), {"new", 59min}})
        broker.state().sessions[id].used = std::chrono::steady_clock::now() - age;
    const Message bye{.kind = "bye"};
    EXPECT_THAT(broker.answer(bye, "old").body, HasSubstr("ERR_INVALID_SESSION"));
    EXPECT_THAT(broker.answer(bye, "new").body, HasSubstr("BYE_SUCCESSFUL"));
}

TEST(StatusServer, AnswersReadersOfThisMachineOnly) {
    const StatusServer server(0, [] { return "{\"the\": \"status\"}"; });
    const std::string port = ":" + std::to_string(server.port());
    const struct {
        std::string request, host;
        const char *status, *body; ///< of the body, the beginning
    } cases[] = {
        {"GET /", "localhost" + port, "200", "<!DOCTYPE html>"},
        {"GET /status.css", "127.0.0.1" + port, "200", ":root"},
        {"GET /status.js", "127.0.0.1" + port, "200", "\"use strict\""},
        {"GET /status.json", "127.0.0.1", "200", "{\"the\": \"status\"}"},
        {"HEAD /status.json", "localhost", "200", ""},
        {"GET /status.html", "localhost", "404", ""},
        {"POST /status.json", "localhost", "405", ""},
        {"GET /status.json", "rebound.example" + port, "403", ""},
        {"GET /status.json", "127.0.0.1.example" + port, "403", ""},
        {"GET /status.json", "", "403", ""},
    };
    for (const auto &[request, host, status, body] : cases) {
        const std::string answer =
            say("127.0.0.1", server.port(),
                request + " HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n\r\n");
        EXPECT_TRUE(answer.starts_with(std::string("HTTP/1.1 ") + status)) << request << answer;
        EXPECT_NE(answer.find("Content-Security-Policy: default-src 'none'"), answer.npos)
            << answer;
        const std::string told = answer.substr(answer.find("\r\n\r\n") + 4);
        EXPECT_TRUE(*body ? told.starts_with(body) : told.empty()) << request << host << told;
    }
}

} // namespace
