#include "kavro/src/allocate_resource.h"
#include "kavro/src/authenticate.h"
#include "kavro/src/hello.h"
#include "kavro/src/power_operation.h"
#include "support/one_line.h"

#include <gtest/gtest.h>

// Those of the usual conversation are compared in tests/conversation.

namespace kavro {
namespace {

using test_support::in_one_line;

/// Values stand in a request as they are.
const ClientIdentity identity = {
    .product_name = "<Kavro> & 'Client'",
    .product_version = "1.2.0",
    .platform = "Linux",
    .locale = "de_DE",
    .time_zone = "W. Europe Standard Time",
    .host_name = "desk",
    .local_address = "10.0.0.5",
    .mac_address = "02:00:00:00:00:01",
    .server_address = "192.0.2.1",
    .server_host_name = "broker.test",
};

void expect_request(const SecureText &text, std::string_view content,
                    const std::string &version = "2.1") {
    EXPECT_EQ(in_one_line(text),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?> <kavro-client version=\"" + version +
                  "\"> " + std::string(content) + " </kavro-client> ");
}

SecureText hello(const Dialect &dialect, const Variables &variables = {}) {
    return request_text(hello_message, dialect, dialect, identity, variables);
}

TEST(Requests, Hello) {
    expect_request(
        hello({"2.10", true}, {{"b", "<1&>"}, {"a", ""}}),
        "<hello> <client-info> <product-name><Kavro> & 'Client'</product-name> "
        "<product-version>1.2.0</product-version> <platform>Linux</platform> "
        "<locale>de_DE</locale> <hostname>desk</hostname> "
        "<serial-number>02:00:00:00:00:01</serial-number> <device-name>desk</device-name> "
        "<kavro-unique-id>02:00:00:00:00:01</kavro-unique-id> "
        "<organization-id>clients.kavrolab.example</organization-id> </client-info> "
        "<caps> <cap>CAP_OAUTH_AUTHENTICATION</cap> <cap>CAP_DISCLAIMER_AUTHENTICATION</cap> "
        "<cap>CAP_NO_AUTHENTICATION</cap> <cap>CAP_DIALOG_AUTHENTICATION</cap> "
        "<cap>CAP_ALTERNATE_PROVISIONING</cap> </caps> "
        "<server-address> <ip-address>192.0.2.1</ip-address> <hostname>broker.test</hostname> "
        "</server-address> "
        "<client-to-broker-variables> "
        "<variable> <name>b</name> <value><1&></value> </variable> "
        "<variable> <name>a</name> <value></value> </variable> "
        "</client-to-broker-variables> </hello>",
        "2.10");
    const std::string old(hello({"2.0", true}));
    EXPECT_EQ(old.find("organization-id"), std::string::npos) << old;
    EXPECT_NE(old.find("CAP_OAUTH"), std::string::npos) << old;
    const std::string without(hello({"2.1", false}));
    EXPECT_EQ(without.find("organization-id"), std::string::npos) << without;
    EXPECT_EQ(without.find("CAP_OAUTH"), std::string::npos) << without;
}

TEST(Requests, Authentication) {
    expect_request(request_text(password_message, {"2.0"}, "ann", "pass <&word>", "NORTH"),
                   "<authenticate method=\"password\"> <username>ann</username> "
                   "<password>pass <&word></password> <domain>NORTH</domain> </authenticate>",
                   "2.0");
    const DialogAnswer fields[] = {
        {"user", "ann", true}, {"pin", "<&1234>", false}, {"", "", true}};
    expect_request(request_text(dialog_message, {"2.1"}, fields, "ok"),
                   "<authenticate method=\"dialog\"> <fields> "
                   "<field> <id>user</id> <text>ann</text> </field> "
                   "<field> <id>pin</id> <text do-not-log=\"true\"><&1234></text> </field> "
                   "<field> <id></id> <text></text> </field> "
                   "</fields> <button-id>ok</button-id> </authenticate>");
    expect_request(
        request_text(dialog_message, {"2.1"}, {}, "cancel"),
        "<authenticate method=\"dialog\"> <button-id>cancel</button-id> </authenticate>");
    expect_request(
        request_text(oauth_message, {"2.1"}, "<c0de>&"),
        "<authenticate method=\"oauth\"> <oauth-code><c0de>&</oauth-code> </authenticate>");
    expect_request(request_text(disclaimer_message, {"2.1"}, false),
                   "<authenticate method=\"disclaimer\"> <accept>DISCLAIMER_REJECTED</accept> "
                   "</authenticate>");
    expect_request(request_text(password_update_message, {"2.1"}, "<ann>", "<&old>", "<&new>", ""),
                   "<update-password> <username><ann></username> "
                   "<old-password><&old></old-password> <new-password><&new></new-password> "
                   "<domain></domain> </update-password>");
    expect_request(request_text(authentication_method_message, {"2.0"}, "<next-authentication/>"),
                   "<get-authentication-method-resp> <next-authentication/> "
                   "</get-authentication-method-resp>",
                   "2.0");
}

TEST(Requests, OfOneDesktop) {
    expect_request(
        request_text(allocate_resource_message, {"2.1"}, identity, "d-1", {{"n", "<v>&"}}),
        "<allocate-resource> <resource-id>d-1</resource-id> <protocol>KAVRO</protocol> "
        "<client-info> <time-zone-windows>W. Europe Standard Time</time-zone-windows> "
        "<ip-address>10.0.0.5</ip-address> <mac-address>02:00:00:00:00:01</mac-address> "
        "<client-to-agent-variables> "
        "<variable> <name>n</name> <value><v>&</value> </variable> "
        "</client-to-agent-variables> </client-info> </allocate-resource>");
    expect_request(request_text(allocate_resource_message, {"2.0"}, {}, "", {}),
                   "<allocate-resource> <resource-id></resource-id> <protocol>KAVRO</protocol> "
                   "<client-info> <ip-address></ip-address> <mac-address></mac-address> "
                   "</client-info> </allocate-resource>",
                   "2.0");
    const char *const commands[] = {"CMD_OS_RESTART", "CMD_PWR_DOWN", "CMD_PWR_UP", "CMD_PWR_SLEEP",
                                    "CMD_PWR_RESUME"};
    for (std::uint32_t command = 0; command < std::size(commands); ++command) {
        expect_request(request_text(power_operation_message, {"2.1"}, "d-1",
                                    eKAVRO_BROKER_DESKTOP_CMD(command)),
                       "<perform-operation> <resource-id>d-1</resource-id> <operation>" +
                           std::string(commands[command]) + "</operation> </perform-operation>");
    }
}

TEST(Requests, VersionsAreComparedByComponent) {
    const std::tuple<const char *, const char *, bool> rows[] = {
        {"2.1", "2.1", true},  {"2.0", "2.1", false}, {"2.10", "2.1", true},
        {"2", "2.1", true},    {"2.1", "2", true},    {"3", "2.1", true},
        {"1.9", "2.1", false}, {"", "2.1", true},     {"2.x", "2.1", false},
        {"2.1x", "2.1", true}, {"10.0", "9.9", true}, {"2.1.0", "2.1.1", false}};
    for (const auto &[version, required, expected] : rows)
        EXPECT_EQ(version_at_least(version, required), expected) << version << ' ' << required;
}

TEST(Requests, ProductVersionLosesItsLeadingZeros) {
    const std::pair<const char *, const char *> rows[] = {
        {"01.002.0", "1.2.0"}, {"000.010", "0.10"}, {"1.2.3", "1.2.3"}, {"7", "7"}, {"", ""},
        {"1..02", "1..2"},     {"2.0a", "2.a"},     {"0x1.", "x1."}};
    for (const auto &[version, expected] : rows)
        EXPECT_EQ(without_leading_zeros(version), expected);
}

} // namespace
} // namespace kavro
