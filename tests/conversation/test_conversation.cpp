#include "conversation/conversation.h"

#include <boost/asio/ip/host_name.hpp>

#include <algorithm>

using namespace conversation;
using broker_sim::Scenario;

namespace {

/// Number of TCP connections and of posts that the last call made.
struct Traffic {
    unsigned connections;
    std::size_t posts;
    friend bool operator==(const Traffic &, const Traffic &) = default;
    friend std::ostream &operator<<(std::ostream &out, const Traffic &t) {
        return out << t.connections << " connections, " << t.posts << " posts";
    }
};

class TrafficMeter {
public:
    explicit TrafficMeter(broker_sim::Simulator &broker) : broker_(broker) {}
    Traffic since_last() {
        const Traffic now{broker_.connections(), broker_.requests().size()};
        const Traffic difference{now.connections - last_.connections, now.posts - last_.posts};
        last_ = now;
        return difference;
    }

private:
    broker_sim::Simulator &broker_;
    Traffic last_{0, 0};
};

TEST(Conversation, FromGreetingToGoodBye) {
    Conversation talk;
    TrafficMeter traffic(talk.broker);
    kavro_broker_variable_list greeting = nullptr;
    kavro_broker_create_variable_list(1, &greeting);
    kavro_broker_set_variable(greeting, 0, "client-mood", "fine");
    kavro_broker_set_hello_client_variables(talk.handle, greeting);

    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER));
    EXPECT_EQ(traffic.since_last(), (Traffic{2, 1})) << "greeting, then a question answered here";
    EXPECT_EQ(text_of(kavro_broker_get_disclaimer_text, talk.handle),
              "This system is for the staff of Example Ltd. Use is recorded.");
    EXPECT_EQ(variable_of(kavro_broker_get_hello_broker_variable, talk.handle, 0),
              "welcome=Welcome to the Example broker");
    EXPECT_EQ(talk.broker.client_to_broker_variables(),
              (broker_sim::Variables{{"client-mood", "fine"}}));

    EXPECT_EQ(kavro_broker_send_accept_disclaimer(talk.handle, 1), KAVRO_BROKER_OK);
    EXPECT_EQ(traffic.since_last(), (Traffic{1, 1}));
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD));
    EXPECT_EQ(traffic.since_last(), (Traffic{1, 0}));
    uint32_t count = 0;
    EXPECT_EQ(kavro_broker_get_num_auth_domains(talk.handle, &count), KAVRO_BROKER_OK);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(text_of(kavro_broker_get_auth_domain, talk.handle, 1u), "PARTNERS");

    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wrong"),
              KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD);
    EXPECT_NE(talk.message(), "");
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD));
    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland"),
              KAVRO_BROKER_OK);
    EXPECT_EQ(variable_of(kavro_broker_get_auth_to_client_variable, talk.handle, 0),
              "last-logon=yesterday");
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_NONE));

    traffic.since_last();
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK) << talk.message();
    EXPECT_EQ(traffic.since_last(), (Traffic{1, 1}));
    EXPECT_EQ(kavro_broker_get_num_desktops(talk.desktops, &count), KAVRO_BROKER_OK);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(text_of(kavro_broker_get_desktop_id, talk.desktops, 0u), "desktop-build")
        << "in the order of ids";
    EXPECT_EQ(text_of(kavro_broker_get_desktop_state, talk.desktops, 0u), "POWERED_OFF");
    uint8_t may_power_up = 0;
    kavro_broker_get_desktop_operation_allowed(talk.desktops, 0, KAVRO_BROKER_OPERATION_POWER_UP,
                                               &may_power_up);
    EXPECT_EQ(may_power_up, 1);

    EXPECT_EQ(kavro_broker_perform_desktop_operation(talk.handle, "desktop-build",
                                                     KAVRO_BROKER_OPERATION_POWER_UP),
              KAVRO_BROKER_OK);
    EXPECT_EQ(talk.broker.desktop_state("desktop-build"), "POWERED_ON");
    EXPECT_EQ(kavro_broker_perform_desktop_operation(talk.handle, "desktop-build",
                                                     KAVRO_BROKER_OPERATION_RESUME),
              KAVRO_BROKER_ERR_DESKTOP_OPERATION_NOT_SUPPORTED);

    EXPECT_EQ(talk.allocate("desktop-build"), KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING);
    EXPECT_EQ(talk.target, nullptr);
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    const char *properties[] = {
        "127.0.0.1", "agent-1.example",    "agent-1.example", "4172",
        "1001",      "SCS1demoConnectTag", nullptr,           "demo-gateway-ticket"};
    for (uint32_t i = 0; i < std::size(properties); ++i) {
        if (properties[i] != nullptr) {
            EXPECT_EQ(talk.property(i), properties[i]) << i;
        }
        EXPECT_EQ(variable_of(kavro_broker_get_desktop_connection_agent_variable, talk.target, 1),
                  "idle-minutes=30");
    }

    EXPECT_EQ(kavro_broker_clear_session(talk.handle), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.broker.requests().back().kind, "bye");
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER)) << "a new session";
    kavro_broker_free_variable_list(greeting);
}

TEST(Conversation, RequestsByteForByte) {
    Conversation talk;
    kavro_broker_set_timezone(talk.handle, "W. Europe Standard Time");
    ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK);
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    const auto requests = talk.broker.requests();
    ASSERT_EQ(requests.size(), 5u);

    const std::string envelope = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                                 "<kavro-client version=\"2.1\">\r\n";
    const std::string name = boost::asio::ip::host_name();
    const std::string mac = "00:00:00:00:00:00";
    const std::string bodies[] = {
        "<hello>\r\n<client-info>\r\n<product-name>test client</product-name>\r\n"
        "<product-version>1.2.0</product-version>\r\n<platform>Linux</platform>\r\n"
        "<locale>en_US</locale>\r\n<hostname>" +
            name +
            "</hostname>\r\n"
            "<serial-number>" +
            mac + "</serial-number>\r\n<device-name>" + name +
            "</device-name>\r\n"
            "<kavro-unique-id>" +
            mac +
            "</kavro-unique-id>\r\n</client-info>\r\n<caps>\r\n"
            "<cap>CAP_DISCLAIMER_AUTHENTICATION</cap>\r\n<cap>CAP_NO_AUTHENTICATION</cap>\r\n"
            "<cap>CAP_DIALOG_AUTHENTICATION</cap>\r\n<cap>CAP_ALTERNATE_PROVISIONING</cap>\r\n"
            "</caps>\r\n<server-address>\r\n<ip-address>127.0.0.1</ip-address>\r\n"
            "<hostname>127.0.0.1</hostname>\r\n</server-address>\r\n</hello>\r\n",

        "<authenticate method=\"disclaimer\">\r\n<accept>DISCLAIMER_ACCEPTED</accept>\r\n"
        "</authenticate>\r\n",

        "<authenticate method=\"password\">\r\n<username>alice</username>\r\n"
        "<password>wonderland</password>\r\n<domain>EXAMPLE</domain>\r\n</authenticate>\r\n",

        "<get-resource-list>\r\n<protocols>\r\n<protocol>KAVRO</protocol>\r\n</protocols>\r\n"
        "<resource-types>\r\n<resource-type>DESKTOP</resource-type>\r\n</resource-types>\r\n"
        "</get-resource-list>\r\n",

        "<allocate-resource>\r\n<resource-id>desktop-office</resource-id>\r\n"
        "<protocol>KAVRO</protocol>\r\n<client-info>\r\n"
        "<time-zone-windows>W. Europe Standard Time</time-zone-windows>\r\n"
        "<ip-address>127.0.0.1</ip-address>\r\n<mac-address>" +
            mac +
            "</mac-address>\r\n"
            "</client-info>\r\n</allocate-resource>\r\n"};

    const std::string marker = "Client-Log-Id: ";
    const auto at = requests[0].head.find(marker) + marker.size();
    const std::string log_id = requests[0].head.substr(at, 36);
    std::string cookies;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        const std::string body = envelope + bodies[i] + "</kavro-client>\r\n";
        EXPECT_EQ(requests[i].body, body);
        if (i == 1) { // the session's cookie, from the answer to the hello on
            const auto start = requests[i].head.find("Cookie: ");
            ASSERT_NE(start, std::string::npos);
            cookies =
                requests[i].head.substr(start, requests[i].head.find("\r\n", start) + 2 - start);
        }
        EXPECT_EQ(requests[i].head,
                  "POST /kavro-broker/xml HTTP/1.1\r\nHost: 127.0.0.1\r\nClient-Log-Id: " + log_id +
                      "\r\nAccept: text/*, application/octet-stream\r\n"
                      "Content-Type: text/xml; charset=UTF-8\r\n" +
                      cookies +
                      "User-Agent: Mozilla/4.0 (compatible; MSIE 6.0)\r\nContent-Length: " +
                      std::to_string(body.size()) +
                      "\r\nConnection: Keep-Alive\r\nCache-Control: no-cache\r\n\r\n");
    }
}

TEST(Conversation, TextsGoOutAsTheyAre) {
    Conversation talk;
    const std::string odd = "a<b>&c\"d'e\r\nf]]>\xC3\xA4\xF0\x9F\x94\x91\x80";
    EXPECT_EQ(kavro_broker_send_accept_disclaimer(talk.handle, 1), KAVRO_BROKER_OK);
    EXPECT_EQ(kavro_broker_send_password(talk.handle, odd.c_str(), "EXAMPLE", odd.c_str()),
              KAVRO_BROKER_ERR_PROTOCOL_GENERIC)
        << "the broker cannot read it";
    const std::string body = talk.broker.requests().back().body;
    EXPECT_NE(body.find("<username>" + odd + "</username>\r\n<password>" + odd + "</password>"),
              std::string::npos);
    EXPECT_EQ(Log::text().find("f]]>"), std::string::npos);
    EXPECT_NE(Log::text().find("Protected Info *****"), std::string::npos);
    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland"),
              KAVRO_BROKER_OK);
}

TEST(Conversation, ExpiredPassword) {
    Conversation talk;
    EXPECT_EQ(talk.log_in("bob", "builder-old"), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED));
    const auto change = [&](const char *old_password, const char *new_password) {
        return kavro_broker_send_new_password(talk.handle, "bob", "EXAMPLE", old_password,
                                              new_password, new_password);
    };
    EXPECT_EQ(change("wrong", "builder-new"), KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD);
    EXPECT_EQ(change("builder-old", "x"), KAVRO_BROKER_ERR_AUTH_WEAK_PASSWORD);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED));
    EXPECT_EQ(change("builder-old", "builder-new"), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_NONE));
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
}

TEST(Conversation, BlockedAccount) {
    Conversation talk;
    const auto result = talk.log_in("mallory", "letmein");
    if (result == KAVRO_BROKER_OK) {
        uint32_t method = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method),
                  KAVRO_BROKER_ERR_AUTH_BLOCKED);
        EXPECT_EQ(method, 0xFFFFFFFF);
    } else {
        EXPECT_EQ(result, KAVRO_BROKER_ERR_AUTH_BLOCKED);
    }
}

TEST(Conversation, Dialog) {
    Scenario scenario = Scenario::demo();
    broker_sim::AuthenticationStep step;
    step.methods = {"AUTHENTICATE_BY_MAGIC", "dialog"};
    step.dialog.prompt = "Who goes there?";
    step.dialog.fields = {{"name", "Your name", "nobody", "text", "email", "false", "false", ""},
                          {"pin", "PIN", "", "text", "number", "true", "true", "1234"},
                          {"hint", "Hint", "four digits", "read-only-text", "", "", "", ""}};
    step.dialog.buttons = {{"go", "Go", true, false}, {"stop", "Stop", false, true}};
    scenario.authentication = {step};
    Conversation talk(scenario);

    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DIALOG));
    EXPECT_EQ(text_of(kavro_broker_get_auth_dialog_prompt_text, talk.handle), "Who goes there?");
    uint32_t count = 0, kind = 0, text_type = 0;
    uint8_t hidden = 0, loggable = 0, is_default = 0;
    std::size_t length = 0;
    kavro_broker_get_auth_dialog_get_num_fields(talk.handle, &count);
    ASSERT_EQ(count, 3u);
    const auto field = [&](uint32_t index) {
        return kavro_broker_get_auth_dialog_field(talk.handle, index, &kind, nullptr, &length,
                                                  nullptr, &length, nullptr, &length, &hidden,
                                                  &loggable, &text_type);
    };
    EXPECT_EQ(field(1), KAVRO_BROKER_OK);
    EXPECT_EQ(std::tie(kind, hidden, loggable, text_type),
              std::make_tuple(uint32_t(KAVRO_BROKER_DIALOG_FIELD_EDITABLE), 1, 0,
                              uint32_t(KAVRO_BROKER_TEXT_TYPE_NUMBER)));
    EXPECT_EQ(field(2), KAVRO_BROKER_OK);
    EXPECT_EQ(kind, uint32_t(KAVRO_BROKER_DIALOG_FIELD_READ_ONLY));
    kavro_broker_get_auth_dialog_get_num_buttons(talk.handle, &count);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(kavro_broker_get_auth_dialog_button(talk.handle, 0, nullptr, &length, nullptr,
                                                  &length, &is_default),
              KAVRO_BROKER_OK);
    EXPECT_EQ(is_default, 1);

    const kavro_broker_name_value wrong[] = {{"name", "alice"}, {"pin", "9999"}};
    EXPECT_EQ(kavro_broker_send_auth_dialog(talk.handle, "go", wrong, 2),
              KAVRO_BROKER_ERR_AUTH_DIALOG_INVALID_USER_ENTRY);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DIALOG)) << "asked again";
    EXPECT_EQ(kavro_broker_send_auth_dialog(talk.handle, "jump", nullptr, 0),
              KAVRO_BROKER_ERR_AUTH_INVALID_FIELD_BUTTON_ID);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DIALOG));
    const kavro_broker_name_value right[] = {{"name", "alice"}, {"pin", "1234"}};
    EXPECT_EQ(kavro_broker_send_auth_dialog(talk.handle, "go", right, 2), KAVRO_BROKER_OK);
    EXPECT_NE(talk.broker.requests().back().body.find(
                  "<field>\r\n<id>pin</id>\r\n<text do-not-log=\"true\">1234</text>\r\n</field>"),
              std::string::npos);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_NONE));
}

TEST(Conversation, WithoutAuthentication) {
    Scenario scenario = Scenario::demo();
    scenario.authentication.clear();
    Conversation talk(scenario);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_NONE));
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
}

TEST(Conversation, SecuridIsNotOffered) {
    Conversation talk;
    EXPECT_EQ(kavro_broker_send_securid_wait(talk.handle), KAVRO_BROKER_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(talk.broker.connections(), 2u);
    EXPECT_EQ(talk.broker.requests().size(), 1u) << "the greeting only";
}

TEST(Conversation, TheBrokersVersionIsAdopted) {
    Scenario scenario = Scenario::demo();
    scenario.broker.version = "2.0";
    Conversation talk(scenario);
    ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK);
    EXPECT_NE(talk.broker.requests()[0].body.find("version=\"2.1\""), std::string::npos);
    EXPECT_NE(talk.broker.requests()[1].body.find("version=\"2.0\""), std::string::npos);
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_GATEWAY_TICKET), "(result 8)");
}

TEST(Conversation, TargetsGivenByName) {
    // A label this long is no name that could be asked for, so no name server is.
    const std::string unknown = std::string(64, 'x') + ".test";
    for (const auto &[name, expected] :
         {std::pair<std::string, std::string>{"localhost", "127.0.0.1"}, {unknown, unknown}}) {
        Scenario scenario = Scenario::demo();
        scenario.allocation.target.ip_address = name;
        Conversation talk(scenario);
        ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK);
        ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
        const std::string target = talk.property(KAVRO_BROKER_CONNECTION_TARGET_ADDRESS);
        EXPECT_TRUE(target == expected || (name == "localhost" && target == "::1")) << target;
    }
}

TEST(Conversation, LargeListsComeInTheOrderOfIds) {
    Scenario scenario = Scenario::demo();
    scenario.authentication.clear();
    scenario.desktops =
        broker_sim::generate_desktops({.name = "Desktop {n}", .id = "id-{n}"}, 20000);
    std::ranges::reverse(scenario.desktops);
    Conversation talk(scenario);
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    uint32_t count = 0;
    kavro_broker_get_num_desktops(talk.desktops, &count);
    ASSERT_EQ(count, 20000u);
    EXPECT_EQ(text_of(kavro_broker_get_desktop_id, talk.desktops, 0u), "id-000001");
    EXPECT_EQ(text_of(kavro_broker_get_desktop_name, talk.desktops, count - 1), "Desktop 020000");
}

TEST(Conversation, TheSecondPortIsFoundWithoutBeingTold) {
    Scenario scenario = Scenario::demo();
    scenario.address = "127.60.44.3"; // an address of its own, on which nobody has port 443
    scenario.port = 60443;
    Conversation talk(scenario);
    kavro_broker_set_broker_address(talk.handle, scenario.address.c_str(), nullptr);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER));
    EXPECT_NE(Log::text().find("No Kavro broker found on port 443, retrying on port 60443."),
              std::string::npos);
    EXPECT_EQ(text_of(kavro_broker_get_resolved_broker_address, talk.handle),
              "https://127.60.44.3:60443");
    kavro_broker_set_broker_address(talk.handle, scenario.address.c_str(), "443");
    uint32_t method = 0;
    EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method), KAVRO_BROKER_ERR_CONNECT_REFUSED);
}

TEST(Conversation, OnlyTrustedBrokersAreTalkedTo) {
    struct Row {
        const char *what;
        broker_sim::Tls tls;
        kavro_broker_result result;
        uint32_t verdict;
    };
    const Row rows[] = {{"stranger",
                         {.issuer = broker_sim::Issuer::stranger},
                         KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE,
                         KAVRO_BROKER_CERTIFICATE_UNABLE_TO_VERIFY_LEAF},
                        {"self-signed",
                         {.issuer = broker_sim::Issuer::self},
                         KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE,
                         KAVRO_BROKER_CERTIFICATE_SELF_SIGNED},
                        {"expired",
                         {.expired = true},
                         KAVRO_BROKER_ERR_CERTIFICATE_FAILED,
                         KAVRO_BROKER_CERTIFICATE_EXPIRED},
                        {"other name",
                         {.names = {"other.test"}, .automatic_names = false},
                         KAVRO_BROKER_ERR_CERTIFICATE_FAILED,
                         KAVRO_BROKER_CERTIFICATE_HOST_NAME_MISMATCH}};
    for (const auto &[what, tls, result, expected_verdict] : rows) {
        SCOPED_TRACE(what);
        Scenario scenario = Scenario::demo();
        scenario.tls = tls;
        Conversation talk(scenario);
        uint32_t method = 0, count = 0, verdict = 0;
        std::size_t length = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method), result);
        EXPECT_NE(text_of(kavro_broker_get_certificate_error_text, talk.handle), "");
        EXPECT_EQ(kavro_broker_get_num_certificates(talk.handle, &count), KAVRO_BROKER_OK);
        EXPECT_GE(count, 1u);
        EXPECT_EQ(kavro_broker_get_broker_certificate(talk.handle, 0, nullptr, &length),
                  KAVRO_BROKER_OK);
        EXPECT_GT(length, 100u);
        EXPECT_EQ(kavro_broker_get_certificate_error(talk.handle, 0, &verdict), KAVRO_BROKER_OK);
        EXPECT_EQ(verdict, expected_verdict);
        EXPECT_TRUE(talk.broker.requests().empty());

        kavro_broker_fail_if_unverified(talk.handle, false);
        EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER));
        kavro_broker_fail_if_unverified(talk.handle, true);
        EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method), result)
            << "let in once, not for ever";
    }
}

TEST(Conversation, AddressesThatCannotBe) {
    struct Row {
        const char *address;
        const char *port;
        kavro_broker_result result;
    };
    const std::string long_address(3000, 'a');
    const Row rows[] = {{"127.0.0.1", "99999", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"::1", "99999", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"fe80::1%lo", "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"127.0.0.1", "-1", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"127.0.0.1", "abc", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"127.0.0.1", "443\r\nX-Evil: 1", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"127.0.0.1\r\nX-Evil: 1", "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"user@127.0.0.1", "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"bro ker.test", "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {long_address.c_str(), "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                        {"", "443", KAVRO_BROKER_ERR_INVALID_STATE},
                        {"localhost", "abc", KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED}};
    Conversation talk;
    for (const auto &[address, port, result] : rows) {
        kavro_broker_set_broker_address(talk.handle, address, port);
        uint32_t method = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method), result)
            << address << " " << port;
    }
    EXPECT_EQ(talk.broker.connections(), 0u);
}

} // namespace
