#include "cli_run.h"

#include "options.h"
#include "result_names.h"
#include "system.h"
#include "utils/src/safe_file.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Json = nlohmann::json;
using namespace nlohmann::literals;

using CommandTest = CliTest;

TEST(Results, are_told_by_their_class_of_exit_status) {
    const std::pair<int, std::vector<kavro_broker_result>> cases[] = {
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
    for (const auto &[status, results] : cases)
        for (const auto result : results) {
            const auto described = kavro_cli::describe(result);
            EXPECT_EQ(static_cast<int>(described.status), status) << result;
            EXPECT_EQ(*described.advice != '\0', result / 100 == 7) << result;
        }
}

TEST_F(CommandTest, a_failure_is_told_as_json_or_in_words_that_a_terminal_only_shows) {
    broker->set_override({.match = {.request = "get-resource-list"},
                          .error_id = "ERR_CM_FAILED",
                          .result_str = "No\x7f]0;owned\x7f entry\n"});
    const Json expected = R"({"result": {"code": 407, "name": "KAVRO_BROKER_ERR_CM_FAILED",
        "message": "The connection manager failed.", "exit_status": 6,
        "broker_message": "No\u007f]0;owned\u007f entry\n"}})"_json;
    const auto told = run({"list", "--json"});
    EXPECT_EQ(told.json(), expected);
    EXPECT_EQ(told.err, "");
    const auto words = run({"list"});
    EXPECT_EQ(words.status, 6);
    EXPECT_EQ(words.out, "");
    EXPECT_EQ(words.err, "kavro-broker: The connection manager failed. "
                         "(407 KAVRO_BROKER_ERR_CM_FAILED)\n"
                         "The broker says: No\\x7f]0;owned\\x7f entry\n");

    start({.tls = {.expired = true}});
    EXPECT_THAT(run({"list"}).err, HasSubstr("\nThe broker's certificate has expired.\n"));
}

TEST_F(CommandTest, list_aligns_columns_as_a_terminal_shows_them) {
    const Lines some{"CMD_OS_RESTART", "CMD_PWR_DOWN"};
    start(
        {.desktops = {
             {.name = "Alpha", .id = "1", .type = "VM", .health = "OK", .operations = some},
             {.name = "日本語", .id = "2", .state = "POWERED_OFF", .health = "", .operations = {}},
             {.name = "e\u0301t\u00e9", .id = "3", .state = "\x7f[2J"}}});
    const auto outcome = run({"list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "NAME    ID  TYPE     STATE        HEALTH   OPERATIONS\n"
                           "Alpha   1   VM       POWERED_ON   OK       down,restart\n"
                           "日本語  2   DESKTOP  POWERED_OFF\n"
                           "e\u0301t\u00e9     3   DESKTOP  \\x7f[2J      HEALTHY\n");
    EXPECT_THAT(requests(), ElementsAre("hello", "get-resource-list", "bye"));
}

TEST_F(CommandTest, connect_prints_the_target_and_keeps_the_session) {
    scenario.allocation = broker_sim::Scenario::demo().allocation;
    start(scenario);
    const auto plain = run({"connect", "vm-1"});
    EXPECT_EQ(plain.status, 0);
    EXPECT_EQ(plain.out, "Desktop             \"Alpha\" (vm-1)\n"
                         "Address             127.0.0.1\n"
                         "Port                4172\n"
                         "Session id          1001\n"
                         "Host name           agent-1.example\n"
                         "Server name         agent-1.example\n"
                         "Use broker address  no\n"
                         "Connect tag         (hidden, see --show-secrets)\n"
                         "Gateway ticket      (hidden, see --show-secrets)\n"
                         "  created           2025-01-01T09:00:00Z\n"
                         "  expires           2025-01-01T09:05:00Z\n"
                         "Agent variable      display-protocol = KAVRO\n"
                         "Agent variable      idle-minutes = 30\n"
                         "Alternate           127.0.0.2, port 4172, host name "
                         "agent-1.backup.example\n");
    const auto open = run({"connect", "vm-1", "--show-secrets"});
    EXPECT_THAT(open.out, HasSubstr("SCS1demoConnectTag"));
    EXPECT_THAT(open.out, HasSubstr("demo-gateway-ticket"));
    EXPECT_EQ(requests().back(), "allocate-resource vm-1");

    broker->set_override({.match = {.request = "allocate-resource"},
                          .result_id = "ALLOC_FAILED_INVALID_PARAMETER",
                          .result_str = "Gone"});
    const auto refused = run({"connect", "vm-1"});
    EXPECT_EQ(refused.status, 5);
    EXPECT_THAT(refused.err, HasSubstr("\nList the desktops again"));
    EXPECT_THAT(refused.err, HasSubstr("\nThe broker says: Gone\n"));
    EXPECT_EQ(requests().back(), "bye");
}

TEST_F(CommandTest, connect_prints_json_with_all_that_a_display_client_needs) {
    scenario.desktops[0].name = "not \xff UTF-8";
    scenario.allocation = broker_sim::Scenario::demo().allocation;
    start(scenario);
    const Json expected = R"({
        "address": "127.0.0.1", "port": "4172", "session_id": "1001",
        "host_name": "agent-1.example", "server_name": "agent-1.example",
        "use_broker_address": false, "connect_tag": "SCS1demoConnectTag",
        "gateway_ticket": {"ticket": "demo-gateway-ticket", "created": "2025-01-01T09:00:00Z",
                           "expires": "2025-01-01T09:05:00Z"},
        "agent_variables": [{"name": "display-protocol", "value": "KAVRO"},
                            {"name": "idle-minutes", "value": "30"}],
        "alternates": [{"address": "127.0.0.2", "port": "4172", "server_name": "",
                        "host_name": "agent-1.backup.example"}]})"_json;
    auto told = run({"connect", "vm-1", "--json"}).json();
    EXPECT_EQ(told["connection"], expected);
    EXPECT_EQ(told["desktop"], (Json{{"id", "vm-1"}, {"name", "not \ufffd UTF-8"}}));

    scenario.allocation = {.use_broker_address = true};
    start(scenario);
    told = run({"connect", "vm-1", "--json"}).json()["connection"];
    EXPECT_EQ(told["use_broker_address"], true);
    EXPECT_EQ(told["gateway_ticket"], nullptr);
    for (const char *list : {"agent_variables", "alternates"})
        EXPECT_EQ(told[list], Json::array());
}

TEST_F(CommandTest, connect_waits_for_a_pending_desktop_only_when_told_to) {
    using std::chrono::milliseconds;
    const std::tuple<Lines, milliseconds, int, std::ptrdiff_t> cases[] = {
        {{}, milliseconds(1), 9, 1},
        {{"--wait"}, milliseconds(1), 0, 3},
        {{"--wait", "--timeout", "2"}, milliseconds(2000), 9, 1},
    };
    scenario.allocation.pending = 2;
    for (const auto &[options, pause, status, asked] : cases) {
        start(scenario);
        retry_pause = pause;
        Lines arguments{"connect", "vm-1"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(run(arguments).status, status);
        EXPECT_EQ(std::ranges::count(requests(), "allocate-resource vm-1"), asked);
    }

    start(scenario);
    retry_pause = std::chrono::hours(1);
    const std::jthread interrupting([this] { // the pause, and not the request before it
        broker->wait_for_requests(3, std::chrono::seconds(20));
        interruption.raise(SIGINT);
    });
    EXPECT_EQ(run({"connect", "vm-1", "--wait", "--timeout", "9999"}).status, 130);
}

TEST_F(CommandTest, power_asks_for_the_operation_and_shows_both_states) {
    const std::array<const char *, 4> cases[] = {
        {"restart", "CMD_OS_RESTART", "POWERED_ON", "POWERED_ON"},
        {"sleep", "CMD_PWR_SLEEP", "POWERED_ON", "SUSPENDED"},
        {"resume", "CMD_PWR_RESUME", "SUSPENDED", "POWERED_ON"},
        {"down", "CMD_PWR_DOWN", "POWERED_ON", "POWERED_OFF"},
        {"up", "CMD_PWR_UP", "POWERED_OFF", "POWERED_ON"},
    };
    for (const auto &[word, request, before, after] : cases) {
        EXPECT_EQ(run({"power", "vm-1", word}).out,
                  fmt::format("\"Alpha\" (vm-1): {}, was {}, is {}\n", word, before, after));
        EXPECT_THAT(requests(),
                    testing::Contains(std::string("perform-operation vm-1|") + request));
    }

    // It has worked even when the second list fails.
    broker->inject({.match = {.request = "get-resource-list", .nth = 2}, .bad_xml = true});
    const auto told = run({"power", "vm-1", "down", "--json"});
    EXPECT_EQ(told.status, 0);
    EXPECT_EQ(told.json()["state_before"], "POWERED_ON");
    EXPECT_EQ(told.json()["state_after"], nullptr);
}

TEST_F(CommandTest, finds_the_desktop_that_is_meant) {
    scenario.desktops = {{.name = "Build one", .id = "vm-1"}, {.name = "build TWO", .id = "vm-2"},
                         {.name = "vm-1", .id = "x"},         {.name = "Twin", .id = "t-1"},
                         {.name = "Twin", .id = "t-2"},       {.name = "Twins", .id = "t-3"}};
    start(scenario);
    const std::string allocates = "allocate-resource ", leaves = "bye";
    const std::tuple<const char *, std::string, const char *> cases[] = {
        {"vm-1", allocates + "vm-1", ""},
        {"Build one", allocates + "vm-1", ""},
        {"BUILD T", allocates + "vm-2", ""},
        {"Twins", allocates + "t-3", ""},
        {"build", leaves, R"(several desktops: "Build one" (vm-1), "build TWO" (vm-2).)"},
        {"Twin", leaves, R"(several desktops: "Twin" (t-1), "Twin" (t-2).)"},
        {"nowhere", leaves, R"(No desktop is called "nowhere"; yours are: )"},
    };
    for (const auto &[meant, last_request, message] : cases) {
        const auto outcome = run({"connect", meant});
        EXPECT_EQ(outcome.status, last_request == leaves ? 1 : 0) << meant;
        EXPECT_EQ(requests().back(), last_request) << meant;
        EXPECT_THAT(outcome.err, HasSubstr(message)) << meant;
    }
}

TEST_F(CommandTest, asks_about_a_broker_of_an_unknown_issuer_unless_its_key_is_known) {
    const auto folder = test_support::fresh_folder();
    config_folder = (folder / "made for it").string();
    const auto file = config_folder + "/known_brokers";
    const broker_sim::Tls trusted, unknown{.issuer = broker_sim::Issuer::stranger};
    const broker_sim::Tls wrong_name{
        .names = {"a.test"}, .automatic_names = false, .issuer = broker_sim::Issuer::self};
    const std::string own_key =
        run({"certificates", "--json"}).json()["certificates"][0]["key_pin"];
    const char *const none = "", *const own = "127.0.0.1 {0} {1}\n",
                      *const other = "127.0.0.1 {0} sha256//{2:A<43}=\n",
                      *const other_port = "127.0.0.1 1{0} {1}\n";
    const struct {
        broker_sim::Tls tls;
        const char *before; ///< in the file, where {0} is the port and {1} the broker's key
        Lines arguments;
        const char *typed;
        int status;
        const char *asked, *told, *after;
    } rows[] = {
        {unknown, none, {"list"}, "no\n", 3, own_key.c_str(), "301", none},
        {unknown, none, {"list"}, "\n", 3, "[no]:", "301", none},
        {unknown, none, {"list"}, "once\n", 0, "[no]:", "", none},
        {unknown, none, {"list"}, "sure\nalways\n", 0, "[no]: always", "", own},
        {wrong_name, none, {"list"}, "always\n", 3, "[no]:", "300", none},
        {unknown, none, {"list", "--non-interactive"}, "once\n", 3, "", "give --pin", none},
        {unknown, none, {"list", "--json"}, "always\n", 3, "", "", none},
        {unknown, none, {"certificates"}, "always\n", 3, "", "301", none},
        {unknown, own, {"list"}, "", 0, "", "", own},
        {unknown, other, {"list"}, "always\n", 3, "", "key has changed", other},
        {unknown, other_port, {"list"}, "\n", 3, "[no]:", "301", other_port},
        {trusted, other, {"list"}, "", 0, "", "", other},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(fmt::format("{}{} {}", row.before, row.arguments.back(), row.typed));
        scenario.tls = row.tls;
        start(scenario);
        const auto text = [&](const char *form) {
            return fmt::format(fmt::runtime(form), broker->port(), own_key, "");
        };
        std::filesystem::remove_all(config_folder);
        if (row.before != none) {
            std::filesystem::create_directory(config_folder);
            EXPECT_FALSE(kavro::replace_file(file, text(row.before)));
        }
        const auto outcome = run(row.arguments, row.typed);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.shown.empty(), std::string(row.asked).empty());
        EXPECT_THAT(outcome.shown, HasSubstr(row.asked));
        EXPECT_THAT(outcome.err, HasSubstr(row.told));
        EXPECT_EQ(requests().empty(), row.status == 3);
        EXPECT_EQ(kavro::read_plain_file(file, 999).value_or(none), text(row.after));
    }
    start(
        {.proxy = broker_sim::Proxy{.listener = {.tls = unknown}}}); // its key is not the broker's
    const auto proxy = fmt::format("https://127.0.0.1:{}", broker->port("proxy"));
    const auto behind_proxy = run({"list", "--proxy", proxy}, "always\n");
    EXPECT_EQ(behind_proxy.status, 3);
    EXPECT_EQ(behind_proxy.shown, "");
    std::filesystem::remove_all(folder);
}

TEST_F(CommandTest, refuses_wrong_usage_before_the_broker_is_asked) {
    const Lines wrong[] = {
        {},
        {"frobnicate"},
        {"list", "--password", "x"},
        {"list", "--password-fd", "x"},
        {"list", "--password-command", "x", "--password-fd", "0"},
        {"list", "--oauth-command", " "},
        {"list", "--password-file", "/dev/null"},
        {"list", "--password-file", "none/such"},
        {"list", "--answer", "novalue"},
        {"list", "--answer-fd", "f=-1"},
        {"list", "--log-level", "5"},
        {"list", "--login-timeout", "0.09"},
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
    }
    EXPECT_EQ(broker->connections(), 0U);
    EXPECT_THAT(run({"list", "--registration-code", "C"}).err, HasSubstr("give --cache"));
}

TEST_F(CommandTest, says_what_is_wrong_with_a_line_but_no_secret) {
    const struct {
        Lines arguments;
        int status;
        const char *told;
    } rows[] = {
        {{"lst"}, 1, "Did you mean list?"},
        {{"list", "x", "y", "--z"}, 1, "Not expected: x y --z\n"},
        {{"list", "--pasword=hunter2"}, 1, "no option --pasword,"},
        {{"power", "vm-1", "--password", "hunter2"}, 1, "no option --password,"},
        {{"known-brokers", "--token-pin-fd", "hunter2", "x"}, 1, "expected: --token-pin-fd x\n"},
        {{"help", "power"}, 0, "Usage: kavro-broker power"},
        {{"--color", "never", "list"}, 0, "Alpha"},
        {{"-V"}, 0, "kavro-broker "},
    };
    for (const auto &row : rows) {
        const auto outcome = run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << row.told;
        EXPECT_THAT(outcome.out + outcome.err, HasSubstr(row.told));
        EXPECT_THAT(outcome.out + outcome.err, testing::Not(HasSubstr("hunter2")));
    }
}

TEST(BrokerAddress, is_split_into_host_and_port) {
    const std::pair<const char *, const char *> cases[] = {
        {"broker.example", "broker.example|"},
        {"broker.example:444", "broker.example|444"},
        {"[::1]", "::1|"},
        {"[::1]:443", "::1|443"},
        {"2001:db8::1", "2001:db8::1|"},
        {"https://broker.example/", "broker.example|"},
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
