#include "conversation/conversation.h"

#include <boost/asio/ip/host_name.hpp>

using namespace conversation;
using namespace test_support;
using namespace std::string_literals;
using broker_sim::Scenario;
namespace server_name = broker_sim::server_name;

namespace {

TEST(Conversation, TheSessionEndsWithALogOutAndWithTheClient) {
    Conversation talk;
    for (const bool logs_out : {true, false}) {
        ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK);
        if (logs_out)
            EXPECT_EQ(kavro_broker_clear_session(talk.handle), KAVRO_BROKER_OK);
        else
            kavro_broker_set_client_info(talk.handle, "another client", "1", "Linux");
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

/// The broker and the provisioning server that it names: each connection is one of the proxy's.
TEST(Conversation, NobodyIsReachedButThroughTheProxy) {
    auto scenario = open_door();
    scenario.proxy = broker_sim::Proxy{.log_in = {"basic"}, .users = {{"ann", "sesame"}}};
    scenario.provisioning = broker_sim::Provisioning{};
    auto &desktop = scenario.desktops.at(0);
    desktop.allocation =
        std::make_shared<broker_sim::Allocation>(broker_sim::Allocation{.provisioned = true});
    const std::string id = desktop.id;
    Conversation talk(scenario);
    const auto at = [&talk](std::string_view server) { return talk.broker.connections(server); };
    for (const std::string kind : {"http", "https", "socks5", "socks5h"}) {
        const std::string url =
            kind + "://127.0.0.1:" + std::to_string(talk.broker.port(server_name::proxy));
        kavro_broker_set_proxy(talk.handle, url.c_str(), "ann", "sesame");
        EXPECT_EQ(talk.allocate(id.c_str()), KAVRO_BROKER_OK) << kind << ": " << talk.message();
        EXPECT_EQ(at(server_name::proxy), at(server_name::broker) + at(server_name::provisioning));
    }
    EXPECT_EQ(at(server_name::provisioning), 4u);
}

TEST(Conversation, TargetsGivenByName) {
    // A label this long is no name that could be asked for, so no name server is.
    const std::string unknown = std::string(64, 'x') + ".test";
    for (const std::string &name : {"localhost"s, unknown, ""s}) {
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
        EXPECT_TRUE(name == "localhost" ? target == "127.0.0.1" || target == "::1" : target == name)
            << target;
    }
}

} // namespace
