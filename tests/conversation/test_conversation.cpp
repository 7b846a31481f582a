#include "conversation/conversation.h"

#include <boost/asio/ip/host_name.hpp>

using namespace conversation;
using namespace test_support;
using broker_sim::Scenario;

namespace {

/// Each request connects for itself; what the library knows by itself asks the broker nothing. What
/// the caller is told is in tests/languages.
TEST(Conversation, FromGreetingToGoodByeByWhatItCosts) {
    const struct {
        const char *what;
        kavro_broker_result (*call)(Conversation &);
        unsigned connections;
        std::size_t posts;
    } rows[] = {
        {"greeting, then a question answered here",
         [](auto &talk) { return ask_method(talk.handle); }, 2, 1},
        {"disclaimer", [](auto &t) { return kavro_broker_send_accept_disclaimer(t.handle, 1); }, 1,
         1},
        {"a question answered here", [](auto &talk) { return ask_method(talk.handle); }, 1, 0},
        {"password",
         [](auto &talk) {
             return kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland");
         },
         1, 1},
        {"list", [](auto &talk) { return talk.list(); }, 1, 1},
        {"allocation", [](auto &talk) { return talk.allocate("desktop-office"); }, 1, 1},
        {"another locale, which the broker is told before the good-bye",
         [](auto &talk) {
             kavro_broker_set_locale(talk.handle, "de_DE");
             return kavro_broker_clear_session(talk.handle);
         },
         2, 2},
    };
    Conversation talk;
    for (const auto &[what, call, connections, posts] : rows) {
        const auto connections_before = talk.broker.connections();
        const auto posts_before = talk.broker.requests().size();
        EXPECT_EQ(call(talk), KAVRO_BROKER_OK) << what;
        EXPECT_EQ(talk.broker.connections() - connections_before, connections) << what;
        EXPECT_EQ(talk.broker.requests().size() - posts_before, posts) << what;
    }
    EXPECT_EQ(text_of(kavro_broker_get_desktop_id, talk.desktops, 0u), "desktop-build")
        << "in the order of ids";
    EXPECT_EQ(talk.broker.requests().back().kind, "bye");
    for (const char *client :
         {"test client", "another client"}) { // the session of the other is over
        kavro_broker_set_client_info(talk.handle, client, "1", "Linux");
        EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER));
        EXPECT_EQ(talk.broker.requests().back().head.find("\r\nCookie: "), std::string::npos);
    }
}

/// What a request says of this machine, of the broker and of the conversation; messages and heads
/// as a whole are compared where they are made. To a broker whose address is not the client's, by a
/// name that the system makes that address of.
TEST(Conversation, NamesBothEndsAndItself) {
    const std::string broker_name = "127.2";
    Scenario scenario = Scenario::demo();
    scenario.address = "127.0.0.2";
    scenario.tls.names = {broker_name};
    Conversation talk(scenario);
    kavro_broker_set_broker_variant(talk.handle, 2); // 1 alone makes the address a code
    kavro_broker_set_broker_address(talk.handle, broker_name.c_str(),
                                    std::to_string(talk.broker.port()).c_str());
    kavro_broker_set_timezone(talk.handle, "W. Europe Standard Time");
    ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK);
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    const auto requests = talk.broker.requests();
    ASSERT_EQ(requests.size(), 4u);

    const std::string mac = "00:00:00:00:00:00";
    const std::string start =
        "POST /kavro-broker/xml HTTP/1.1\r\nHost: " + broker_name + "\r\nClient-Log-Id: ";
    const std::string log_id = requests[0].head.substr(start.size(), 36);
    const std::string cookie = requests[1].head.substr(requests[1].head.find("\r\nCookie: "), 45);
    const std::pair<std::string, std::string> rows[] = {
        {requests[0].body, "<product-version>1.2.0</product-version>\r\n"
                           "<platform>Linux</platform>\r\n<locale>en_US</locale>\r\n<hostname>" +
                               boost::asio::ip::host_name() + "</hostname>\r\n<serial-number>" +
                               mac + "</serial-number>\r\n"},
        {requests[0].body,
         "<ip-address>127.0.0.2</ip-address>\r\n<hostname>" + broker_name + "</hostname>\r\n"},
        {requests[3].body, "<time-zone-windows>W. Europe Standard Time</time-zone-windows>\r\n"
                           "<ip-address>127.0.0.1</ip-address>\r\n<mac-address>" +
                               mac + "</mac-address>\r\n"},
        {requests[1].head, cookie},
        {requests[3].head, cookie},
        {requests[0].head, start + log_id + "\r\n"},
        {requests[3].head, start + log_id + "\r\n"},
    };
    for (const auto &[request, part] : rows)
        EXPECT_NE(request.find(part), std::string::npos) << part << "\nis not in\n" << request;
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
         {std::pair<std::string, std::string>{"localhost", "127.0.0.1"},
          {unknown, unknown},
          {"", ""}}) {
        Scenario scenario = Scenario::demo();
        scenario.allocation.target.ip_address = name;
        Conversation talk(scenario);
        ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK);
        talk.broker.inject({.delay = std::chrono::milliseconds(20)});
        ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
        constexpr std::string_view limit = "Deadline Timer timeout set to ";
        const std::string log = Log::text();
        const int last = std::stoi(log.substr(log.rfind(limit) + limit.size()));
        EXPECT_EQ(last < 180'000, !name.empty()) << "what the answer has left of it";
        const std::string target = talk.property(KAVRO_BROKER_CONNECTION_TARGET_ADDRESS);
        EXPECT_TRUE(target == expected || (name == "localhost" && target == "::1")) << target;
    }
}

TEST(Conversation, AddressesThatCannotBe) {
    const struct {
        std::string address;
        const char *port;
        kavro_broker_result result;
    } rows[] = {{"127.0.0.1", "99999", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                {std::string(3000, 'a'), "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                {"localhost", "abc", KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED}};
    Conversation talk;
    for (const auto &[address, port, result] : rows) {
        kavro_broker_set_broker_address(talk.handle, address.c_str(), port);
        uint32_t method = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method), result)
            << address << " " << port;
    }
    EXPECT_EQ(talk.broker.connections(), 0u);
}

} // namespace
