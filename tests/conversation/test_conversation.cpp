#include "conversation/conversation.h"

#include <boost/asio/ip/host_name.hpp>

#include <random>

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

/// What the broker is told, and at what cost; what the caller is told is in tests/languages.
TEST(Conversation, FromGreetingToGoodBye) {
    Conversation talk;
    TrafficMeter traffic(talk.broker);
    kavro_broker_variable_list greeting = nullptr;
    kavro_broker_create_variable_list(1, &greeting);
    kavro_broker_set_variable(greeting, 0, "client-mood", "fine");
    kavro_broker_set_hello_client_variables(talk.handle, greeting);

    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER));
    EXPECT_EQ(traffic.since_last(), (Traffic{2, 1})) << "greeting, then a question answered here";
    EXPECT_EQ(talk.broker.client_to_broker_variables(),
              (broker_sim::Variables{{"client-mood", "fine"}}));

    EXPECT_EQ(kavro_broker_send_accept_disclaimer(talk.handle, 1), KAVRO_BROKER_OK);
    EXPECT_EQ(traffic.since_last(), (Traffic{1, 1}));
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD));
    EXPECT_EQ(traffic.since_last(), (Traffic{1, 0}));
    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wrong"),
              KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD);
    EXPECT_NE(talk.message(), "");
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_PASSWORD));
    EXPECT_EQ(talk.message(), "") << "of the last request only";
    EXPECT_EQ(kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland"),
              KAVRO_BROKER_OK);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_NONE));

    traffic.since_last();
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK) << talk.message();
    EXPECT_EQ(traffic.since_last(), (Traffic{1, 1}));
    EXPECT_EQ(text_of(kavro_broker_get_desktop_id, talk.desktops, 0u), "desktop-build")
        << "in the order of ids";
    EXPECT_EQ(kavro_broker_perform_desktop_operation(talk.handle, "desktop-build",
                                                     KAVRO_BROKER_OPERATION_POWER_UP),
              KAVRO_BROKER_OK);
    EXPECT_EQ(talk.broker.desktop_state("desktop-build"), "POWERED_ON");
    EXPECT_EQ(talk.allocate("desktop-build"), KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING);
    EXPECT_EQ(talk.target, nullptr);
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_SESSION_ID), "1001");

    kavro_broker_set_locale(talk.handle, "de_DE"); // which the broker is told before the good-bye
    traffic.since_last();
    EXPECT_EQ(kavro_broker_clear_session(talk.handle), KAVRO_BROKER_OK);
    EXPECT_EQ(traffic.since_last(), (Traffic{2, 2}));
    EXPECT_EQ(talk.broker.requests().back().kind, "bye");
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER)) << "a new session";
    const auto cookie = [&talk] { return talk.broker.requests().back().head.find("\r\nCookie: "); };
    EXPECT_EQ(cookie(), std::string::npos) << "the old one is over";
    kavro_broker_set_client_info(talk.handle, "another client", "1", "Linux");
    talk.method();
    EXPECT_EQ(cookie(), std::string::npos) << "the old one was another client's";
    kavro_broker_free_variable_list(greeting);
}

/// To a broker whose address is not the client's, by a name that the system makes that address of.
TEST(Conversation, HeadsByteForByte) {
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
    ASSERT_EQ(talk.list(), KAVRO_BROKER_OK);
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    const auto requests = talk.broker.requests();
    ASSERT_EQ(requests.size(), 5u);

    // What a request says of this machine; the messages as a whole are compared where they are
    // made.
    const std::string name = boost::asio::ip::host_name();
    const std::string mac = "00:00:00:00:00:00";
    EXPECT_NE(requests[0].body.find("<product-version>1.2.0</product-version>\r\n"
                                    "<platform>Linux</platform>\r\n<locale>en_US</locale>\r\n"
                                    "<hostname>" +
                                    name + "</hostname>\r\n<serial-number>" + mac +
                                    "</serial-number>\r\n"),
              std::string::npos);
    EXPECT_NE(requests[0].body.find("<ip-address>127.0.0.2</ip-address>\r\n<hostname>" +
                                    broker_name + "</hostname>\r\n"),
              std::string::npos);
    EXPECT_NE(requests[4].body.find("<time-zone-windows>W. Europe Standard Time</time-zone-windows>"
                                    "\r\n<ip-address>127.0.0.1</ip-address>\r\n<mac-address>" +
                                    mac + "</mac-address>\r\n"),
              std::string::npos);

    const std::string marker = "Client-Log-Id: ";
    const auto at = requests[0].head.find(marker) + marker.size();
    const std::string log_id = requests[0].head.substr(at, 36);
    std::string cookies;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        if (i == 1) { // the session's cookie, from the answer to the hello on
            const auto start = requests[i].head.find("Cookie: ");
            ASSERT_NE(start, std::string::npos);
            cookies =
                requests[i].head.substr(start, requests[i].head.find("\r\n", start) + 2 - start);
        }
        EXPECT_EQ(requests[i].head,
                  "POST /kavro-broker/xml HTTP/1.1\r\nHost: " + broker_name +
                      "\r\nClient-Log-Id: " + log_id +
                      "\r\nAccept: text/*, application/octet-stream\r\n"
                      "Content-Type: text/xml; charset=UTF-8\r\n" +
                      cookies +
                      "User-Agent: Mozilla/4.0 (compatible; MSIE 6.0)\r\nContent-Length: " +
                      std::to_string(requests[i].body.size()) +
                      "\r\nConnection: Keep-Alive\r\nCache-Control: no-cache\r\n\r\n");
    }
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
        ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
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
                {"127.0.0.1", "abc", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                {"127.0.0.1\r\nX-Evil: 1", "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                {std::string(3000, 'a'), "443", KAVRO_BROKER_ERR_INVALID_PARAMETER},
                {"", "443", KAVRO_BROKER_ERR_INVALID_STATE},
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

TEST(Conversation, TheSecondPortIsFoundWithoutBeingTold) {
    Scenario scenario = Scenario::demo();
    // An address of its own, whatever else runs on this machine, and on which nobody has port 443.
    std::random_device random;
    const auto number = [&random] { return std::to_string(1 + random() % 254); };
    scenario.address = "127." + number() + "." + number() + "." + number();
    scenario.port = 60443;
    Conversation talk(scenario);
    kavro_broker_set_broker_address(talk.handle, scenario.address.c_str(), nullptr);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_DISCLAIMER));
    EXPECT_NE(Log::text().find("No Kavro broker found on port 443, retrying on port 60443."),
              std::string::npos);
    EXPECT_EQ(text_of(kavro_broker_get_resolved_broker_address, talk.handle),
              "https://" + scenario.address + ":60443");
    kavro_broker_set_broker_address(talk.handle, scenario.address.c_str(), "443");
    uint32_t method = 0;
    EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method), KAVRO_BROKER_ERR_CONNECT_REFUSED);
}

} // namespace
