#include "cli_run.h"

#include "options.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

using fake::broker;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Json = nlohmann::json;
using Pairs = std::vector<std::pair<std::string, std::string>>;

const Json ok_result{{"code", 0},
                     {"name", "KAVRO_BROKER_OK"},
                     {"message", "It worked."},
                     {"broker_message", ""},
                     {"exit_status", 0}};

class CommandTest : public CliTest {
protected:
    CommandTest() {
        broker.connection = {{"192.0.2.7", "host.example", "sni.example", "4172"},
                             "17",
                             "tag-secret",
                             true,
                             kavro_broker::gateway_ticket{"ticket-secret", "now", "soon"},
                             {{"K", "V"}},
                             {{"192.0.2.8", "other.example", "", "4173"}}};
    }
};

TEST_F(CommandTest, tells_every_class_of_failure_by_its_exit_status) {
    struct Case {
        int status;
        std::vector<kavro_broker_result> results;
    };
    const Case cases[] = {
        {1, {2, 3, 10, 100, 101}},
        {2, {9, 200, 201, 202, 203, 204, 205}},
        {3, {300, 301}},
        {4, {6, 500, 501, 502, 503, 504, 505, 506, 507, 508, 509, 510, 511, 512, 513, 514}},
        {5, {600, 700, 701, 708, 709, 710, 711, 712}},
        {6, {7, 8, 206, 207, 400, 401, 403, 404, 405, 406, 407, 408, 99999}},
        {7, {4}},
        {9, {703}},
        {130, {5}},
    };
    for (const auto &c : cases)
        for (const auto result : c.results) {
            SCOPED_TRACE(result);
            broker.results["list"] = {result};
            broker.message = "Words\x1b[31m";
            const auto outcome = run({"list", "--json"});
            EXPECT_EQ(outcome.status, c.status);
            EXPECT_EQ(outcome.err, "");
            const auto told = outcome.json().at("result");
            EXPECT_EQ(told.at("code"), result);
            EXPECT_EQ(told.at("exit_status"), c.status);
            EXPECT_EQ(told.at("broker_message"), broker.message);
            EXPECT_NE(told.at("message"), "");
            EXPECT_EQ(told.at("name") == "UNKNOWN", result == 99999);
        }
}

TEST_F(CommandTest, tells_failures_in_words_and_never_lets_the_broker_write_to_the_terminal) {
    broker.results["list"] = {300};
    broker.certificate_verdict = KAVRO_BROKER_CERTIFICATE_EXPIRED;
    broker.message = "No\x1b]0;owned\x07 entry\n";
    const auto outcome = run({"list"});
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "kavro-broker: The broker's certificate is rejected. "
                           "(300 KAVRO_BROKER_ERR_CERTIFICATE_FAILED)\n"
                           "The broker's certificate has expired.\n"
                           "In detail: No\\x1b]0;owned\\x07 entry\n");
}

TEST_F(CommandTest, list_aligns_columns_as_a_terminal_shows_them) {
    broker.desktops = {
        {"Alpha",
         "1",
         "VM",
         "ON",
         "OK",
         {KAVRO_BROKER_OPERATION_OS_RESTART, KAVRO_BROKER_OPERATION_POWER_DOWN}},
        {"日本語", "2", "VM", "OFF", "", {}},
        {"e\u0301t\u00e9", "3", "VM", "\x1b[2J", "OK", {KAVRO_BROKER_OPERATION_POWER_UP}}};
    const auto outcome = run({"list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "NAME    ID  TYPE  STATE    HEALTH  OPERATIONS\n"
                           "Alpha   1   VM    ON       OK      down,restart\n"
                           "日本語  2   VM    OFF\n"
                           "e\u0301t\u00e9     3   VM    \\x1b[2J  OK      up\n");
    EXPECT_EQ(broker.noted.back(), "bye");
}

TEST_F(CommandTest, list_prints_json) {
    broker.desktops[1].name = "not \xff UTF-8";
    const auto outcome = run({"list", "--json"});
    const Json expected{{"result", ok_result},
                        {"broker",
                         {{"address", "fake.example"},
                          {"product", "Fake"},
                          {"version", "7"},
                          {"platform", "Nowhere"}}},
                        {"desktops",
                         {{{"id", "vm-1"},
                           {"name", "Alpha"},
                           {"type", "VM"},
                           {"state", "ON"},
                           {"health", "OK"},
                           {"operations", {"down", "restart"}}},
                          {{"id", "vm-2"},
                           {"name", "not \ufffd UTF-8"},
                           {"type", "VM"},
                           {"state", "OFF"},
                           {"health", ""},
                           {"operations", {"up"}}}}}};
    EXPECT_EQ(outcome.json(), expected);
}

TEST_F(CommandTest, connect_prints_the_target_and_keeps_the_session) {
    const auto plain = run({"connect", "vm-1"});
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.out, "Desktop             \"Alpha\" (vm-1)\n"
                         "Address             192.0.2.7\n"
                         "Port                4172\n"
                         "Session id          17\n"
                         "Host name           host.example\n"
                         "Server name         sni.example\n"
                         "Use broker address  yes\n"
                         "Connect tag         (hidden, see --show-secrets)\n"
                         "Gateway ticket      (hidden, see --show-secrets)\n"
                         "  created           now\n"
                         "  expires           soon\n"
                         "Agent variable      K = V\n"
                         "Alternate           192.0.2.8, port 4173, host name other.example\n");
    const auto open = run({"connect", "vm-1", "--show-secrets"});
    EXPECT_THAT(open.out, HasSubstr("tag-secret"));
    EXPECT_THAT(open.out, HasSubstr("ticket-secret"));
    EXPECT_THAT(broker.noted_of("bye"), IsEmpty());

    broker.results["connect"] = {701};
    EXPECT_EQ(run({"connect", "vm-1"}).status, 5);
    EXPECT_EQ(broker.noted.back(), "bye");
}

TEST_F(CommandTest, connect_prints_json_with_all_that_a_display_client_needs) {
    Json expected{{"result", ok_result},
                  {"desktop", {{"id", "vm-1"}, {"name", "Alpha"}}},
                  {"connection",
                   {{"address", "192.0.2.7"},
                    {"port", "4172"},
                    {"session_id", "17"},
                    {"host_name", "host.example"},
                    {"server_name", "sni.example"},
                    {"use_broker_address", true},
                    {"connect_tag", "tag-secret"},
                    {"gateway_ticket",
                     {{"ticket", "ticket-secret"}, {"created", "now"}, {"expires", "soon"}}},
                    {"agent_variables", Json::array({{{"name", "K"}, {"value", "V"}}})},
                    {"alternates", Json::array({{{"address", "192.0.2.8"},
                                                 {"port", "4173"},
                                                 {"host_name", "other.example"},
                                                 {"server_name", ""}}})}}}};
    EXPECT_EQ(run({"connect", "vm-1", "--json"}).json(), expected);

    broker.connection.gateway_ticket.reset();
    broker.connection.agent_variables.clear();
    broker.connection.alternate_targets.clear();
    expected["connection"]["gateway_ticket"] = nullptr;
    expected["connection"]["agent_variables"] = Json::array();
    expected["connection"]["alternates"] = Json::array();
    EXPECT_EQ(run({"connect", "vm-1", "--json"}).json(), expected);
}

TEST_F(CommandTest, connect_waits_for_a_pending_desktop_only_when_told_to) {
    struct Case {
        std::vector<std::string> options;
        std::chrono::milliseconds pause;
        int status;
        std::size_t asked;
    };
    const Case cases[] = {
        {{}, std::chrono::milliseconds(1), 9, 1},
        {{"--wait"}, std::chrono::milliseconds(1), 0, 3},
        {{"--wait", "--timeout", "2"}, std::chrono::milliseconds(2000), 9, 1},
    };
    for (const auto &c : cases) {
        broker.noted.clear();
        broker.results["connect"] = {703, 703};
        retry_pause = c.pause;
        std::vector<std::string> arguments{"connect", "vm-1"};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        EXPECT_EQ(run(arguments).status, c.status);
        EXPECT_EQ(broker.noted_of("connect").size(), c.asked);
    }
}

TEST_F(CommandTest, an_interruption_ends_the_wait_for_a_pending_desktop) {
    retry_pause = std::chrono::hours(1);
    broker.results["connect"] = {703};
    broker.during = [this](const std::string &request) {
        if (request == "connect")
            interruption.raise(2);
    };
    EXPECT_EQ(run({"connect", "vm-1", "--wait", "--timeout", "9999"}).status, 130);
}

TEST_F(CommandTest, power_asks_for_the_operation_and_shows_both_states) {
    struct Case {
        const char *word;
        int operation;
    };
    for (const auto &c :
         {Case{"restart", 0}, {"down", 1}, {"up", 2}, {"sleep", 3}, {"resume", 4}}) {
        SCOPED_TRACE(c.word);
        broker.during = [](const std::string &request) {
            if (request == "power")
                broker.desktops[0].state = "AFTER";
        };
        broker.desktops[0].state = "BEFORE";
        EXPECT_EQ(run({"power", "vm-1", c.word}).out,
                  fmt::format("\"Alpha\" (vm-1): {}, was BEFORE, is AFTER\n", c.word));
        EXPECT_EQ(broker.noted_of("power").back(), fmt::format("power vm-1|{}", c.operation));
    }
}

TEST_F(CommandTest, power_has_worked_even_when_the_second_list_fails) {
    broker.results["list"] = {0, 205};
    const Json expected{{"result", ok_result},
                        {"desktop", {{"id", "vm-1"}, {"name", "Alpha"}}},
                        {"operation", "down"},
                        {"state_before", "ON"},
                        {"state_after", nullptr}};
    EXPECT_EQ(run({"power", "vm-1", "down", "--json"}).json(), expected);
}

TEST_F(CommandTest, logout_greets_and_leaves_without_logging_in) {
    broker.methods = {KAVRO_BROKER_AUTH_METHOD_PASSWORD};
    const auto outcome = run({"logout"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "Greeted and left the broker at fake.example: Fake 7 on Nowhere\n");
    EXPECT_EQ(broker.noted_of("bye").size(), 1U);
}

TEST_F(CommandTest, an_interruption_ends_a_probe) {
    broker.during = [this](const std::string &) {
        interruption.raise(2);
        interruption.cancel_request();
    };
    run({"probe", "h"});
    EXPECT_THAT(broker.noted, ElementsAre("find h|", "cancel-find"));
}

TEST_F(CommandTest, a_registration_code_stands_in_the_place_of_the_address) {
    const auto folder = testing::TempDir() + "kavro-codes/of-the-user";
    const auto outcome = run({"list", "--registration-code", "ABC+1", "--cache", folder});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "The registration code ABC+1 stands for fake.example.\n");
    EXPECT_EQ(std::vector(broker.noted.begin(), broker.noted.begin() + 3),
              (std::vector<std::string>{"cache " + folder, "address ABC+1|", "variant 1"}));
    EXPECT_TRUE(std::filesystem::remove(folder)) << "made for the library";
    EXPECT_THAT(run({"list", "--registration-code", "ABC+1"}).err, HasSubstr("give --cache"));
}

TEST_F(CommandTest, finds_the_desktop_that_is_meant) {
    broker.desktops.clear();
    for (const auto &[name, id] : Pairs{{"Build one", "vm-1"},
                                        {"build TWO", "vm-2"},
                                        {"vm-1", "x"},
                                        {"Twin", "t-1"},
                                        {"Twin", "t-2"},
                                        {"Twins", "t-3"}})
        broker.desktops.push_back({name, id, "", "", "", {}});
    struct Case {
        const char *meant;
        const char *id;      ///< or null
        const char *message; ///< when there is no id
    };
    const Case cases[] = {
        {"vm-1", "vm-1", ""},
        {"Build one", "vm-1", ""},
        {"BUILD T", "vm-2", ""},
        {"Twins", "t-3", ""},
        {"build", nullptr, R"(several desktops: "Build one" (vm-1), "build TWO" (vm-2).)"},
        {"Twin", nullptr, R"(several desktops: "Twin" (t-1), "Twin" (t-2).)"},
        {"nowhere", nullptr, R"(No desktop is called "nowhere"; yours are: "Build one" (vm-1),)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.meant);
        broker.noted.clear();
        const auto outcome = run({"connect", c.meant});
        EXPECT_EQ(outcome.status, c.id != nullptr ? 0 : 1);
        if (c.id != nullptr)
            EXPECT_THAT(broker.noted_of("connect"), ElementsAre(fmt::format("connect {}", c.id)));
        else
            EXPECT_THAT(outcome.err, HasSubstr(c.message));
    }
}

TEST_F(CommandTest, refuses_wrong_usage_before_the_broker_is_asked) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"frobnicate"},
        {"list", "--password", "x"},
        {"list", "--password-fd", "x"},
        {"list", "--answer", "novalue"},
        {"list", "--answer-fd", "f=-1"},
        {"list", "--log-level", "5"},
        {"connect"},
        {"connect", "vm-1", "--timeout", "65535"},
        {"power", "vm-1"},
        {"power", "vm-1", "explode"},
        {"probe"},
        {"probe", "host:https"},
        {"list", "--registration-code", ""},
        {"list", "--registration-code", "C", "--broker", "b"},
    };
    for (const auto &arguments : wrong) {
        SCOPED_TRACE(fmt::format("{}", fmt::join(arguments, " ")));
        const auto outcome = run(arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
        EXPECT_THAT(broker.noted, IsEmpty());
    }
}

TEST_F(CommandTest, logs_up_to_the_level_and_shows_which_lines_belong_together) {
    broker.during = [](const std::string &request) {
        if (request != "list")
            return;
        broker.log(0, 0, 0, "%s", "banner");
        broker.log(0, 0, -500, "%s", "last words");
        broker.log(1, 1, -500, "%s", "mishap");
        broker.log(0, 2, 0, "<a>\r\n%s\x1b[2J\r\n", "2026-01-01T00:00:00.000Z error: forged");
        broker.log(0, 2, 0, "Session provisioner info ==> %s", "ticket-secret");
        broker.log(0, 3, 0, "%s", "trace");
    };
    struct Case {
        const char *level, *log;
    };
    const Case cases[] = {
        {"off", "T banner general: last words [-500]\n"},
        {"error", "T banner general: banner\nT banner general: last words [-500]\n"
                  "T error discovery: mishap [-500]\n"},
        {"2", "T banner general: banner\nT banner general: last words [-500]\n"
              "T error discovery: mishap [-500]\n"
              "T info general: <a>\n    | T error: forged\\x1b[2J\n"
              "T info general: Session provisioner info (not shown: it holds a ticket)\n"},
    };
    const std::regex time_stamp(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)");
    for (const auto &c : cases) {
        testing::internal::CaptureStderr();
        run({"list", "--log-level", c.level});
        EXPECT_EQ(std::regex_replace(testing::internal::GetCapturedStderr(), time_stamp, "T"),
                  c.log);
    }
}

TEST(BrokerAddress, is_split_into_host_and_port) {
    const std::pair<const char *, const char *> cases[] = {
        {"broker.example", "broker.example|"},
        {"broker.example:444", "broker.example|444"},
        {"[::1]", "::1|"},
        {"[::1]:443", "::1|443"},
        {"2001:db8::1", "2001:db8::1|"},
    };
    std::string host, port;
    for (const auto &[text, parts] : cases) {
        ASSERT_TRUE(kavro_cli::split_broker_address(text, host, port)) << text;
        EXPECT_EQ(host + '|' + port, parts);
    }
    for (const char *text : {"", ":443", "host:", "host:https", "[::1", "[::1]443", "[]:443"})
        EXPECT_FALSE(kavro_cli::split_broker_address(text, host, port)) << text;
}

} // namespace
