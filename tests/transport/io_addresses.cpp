#include "io_client.h"
#include "io_names.h"
#include "support/unreachable.h"

namespace kavro {

namespace {

using boost::asio::ip::tcp;
using Endpoints = NameResolver::Endpoints;

class AddressTest : public TransportTest {
protected:
    Names names_;
    RefusingPort refusing_;
    Client client_{names_.lookup()};

    ConnectCode connect_to(const std::string &address) {
        return connect(client_, address).result.result;
    }
};

} // namespace

TEST_F(AddressTest, OnlyANameIsIndicatedToTheServer) {
    const ScriptedPeer peer({good_script()});
    names_.set("broker.test", {peer.endpoint()});
    const struct {
        std::string address;
        std::string_view server_name;
        std::string host;
        std::string told = host; ///< in the request
    } cases[] = {
        {"127.0.0.1:", "", "127.0.0.1"},
        {"broker.test:", "broker.test", "broker.test"},
        {"https://[::ffff:127.0.0.1%1]:", "", "::ffff:127.0.0.1%1", "::ffff:127.0.0.1"},
        {"https://[::ffff:127.0.0.1]:", "", "::ffff:127.0.0.1"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].address);
        const auto outcome = connect(client_, cases[i].address + peer.port());
        ASSERT_EQ(outcome.result.result, ConnectCode::connected);
        EXPECT_EQ(outcome.result.host, cases[i].host);
        EXPECT_EQ(client_.host(), cases[i].host);
        EXPECT_EQ(post(client_).result.result, POST_RESULT_SUCCESS);
        EXPECT_EQ(peer.record(i).server_name, cases[i].server_name);
        EXPECT_NE(peer.record(i).received.find("\r\nHost: " + cases[i].told + "\r\n"),
                  std::string::npos);
    }
    EXPECT_EQ(names_.lookups(), 1);
    EXPECT_EQ(client_.remote_address(), "::ffff:127.0.0.1");
    EXPECT_EQ(client_.local_address(), "::ffff:127.0.0.1");
}

TEST_F(AddressTest, SomeLeadNowhere) {
    const ScriptedPeer peer({good_script()});
    ASSERT_EQ(connect(client_, peer.address(), true).result.certificates.size(), 2u);
    names_.set("broker.test", {refusing_.endpoint()});
    names_.set("nowhere.test", {});
    constexpr auto unusable = ConnectCode::invalid_params;
    constexpr auto unknown = ConnectCode::resolve_failed;
    const struct {
        std::string address, port;
        ConnectCode code;
        std::string_view exception =
            {}; ///< where nothing need be looked up to see that it is wrong
    } rows[] = {
        {"", "443", unusable},
        {"a b", "443", unusable},
        {"broker.test\r\nHost: other.test", "443", unusable},
        {std::string(3000, 'a'), "443", unusable},
        {"unknown.test", "443", unknown},
        {"nowhere.test", "443", unknown},
        {"broker.test", "", unknown},
        {"broker.test", "https", unknown},
        {"broker.test", "99999", unknown},
        {"broker.test:", "-1", unknown},
        {"127.0.0.1", "", unusable, "\"\" is no port number"},
        {"127.0.0.1", "443x", unusable, "\"443x\" is no port number"},
        {"127.0.0.1", "65536", unusable, "\"65536\" is no port number"},
        {std::string(300, 'a'), "443", unusable, "the host name is too long for TLS"},
    };
    for (const auto &[address, port, code, exception] : rows) {
        SCOPED_TRACE(address + " " + port);
        try {
            const auto result = connect(client_, address, true, ample, port).result;
            EXPECT_EQ(exception, "") << "but none was thrown";
            EXPECT_EQ(result.result, code);
            EXPECT_EQ(result.certificates.size(), 0u) << "those of the connection before";
        } catch (const std::logic_error &failure) {
            EXPECT_EQ(failure.what(), exception);
            client_.run_io(true);
        }
    }
    EXPECT_EQ(names_.lookups(), 2);
}

TEST_F(AddressTest, AddressesAreTriedSideBySideUnderOneTimeOut) {
    const ScriptedPeer peer({good_script()},
                            {.identity = trusted_server({.names = {"broker.test"}})});
    const FullBacklog silent;
    const tcp::endpoint other_family(boost::asio::ip::make_address("::1"), 1);
    Endpoints endpoints(11, refusing_.endpoint());
    endpoints.front() = silent.endpoint();
    endpoints.insert(endpoints.end(), {silent.endpoint(), peer.endpoint(), other_family});
    names_.set("broker.test", endpoints);
    const auto outcome = connect(client_, "broker.test:443", true);
    EXPECT_EQ(outcome.result.result, ConnectCode::connected);
    EXPECT_LT(outcome.took, 2s) << "nobody waits for one that has refused";
    EXPECT_EQ(CapturedLog::count("Deadline Timer timeout set to 5000 milliseconds."), 1);
    EXPECT_EQ(client_.report().tried.size(), endpoints.size());
    EXPECT_EQ(client_.report().tried.at(1), "[::1]:1") << "the families take turns";
    EXPECT_EQ(client_.report().address, peer.address());
    EXPECT_EQ(post(client_).result.result, POST_RESULT_SUCCESS);

    // The address that answered is the one that is remembered.
    EXPECT_EQ(connect_to("broker.test:443"), ConnectCode::connected);
    EXPECT_EQ(names_.lookups(), 1);
}

TEST_F(AddressTest, RefusedBySixteenIsRefusedAndForgotten) {
    const ScriptedPeer peer({good_script()});
    Endpoints many(NameResolver::max_endpoints, refusing_.endpoint());
    many.push_back(peer.endpoint());
    names_.set("broker.test", many);
    for (int attempt = 1; attempt <= 2; ++attempt) {
        const auto outcome = connect(client_, "broker.test:443", true);
        EXPECT_EQ(outcome.result.result, ConnectCode::connect_refused);
        EXPECT_FALSE(outcome.result.error_text.empty());
        EXPECT_EQ(names_.lookups(), attempt);
    }
    EXPECT_EQ(peer.connection_count(), 0u);
    const auto at_once = connect(client_, "255.255.255.255:443").result; // fails without a wait
    EXPECT_EQ(at_once.result, ConnectCode::connect_failed);
    EXPECT_FALSE(at_once.error_text.starts_with("Host not found")) << at_once.error_text;
}

TEST_F(AddressTest, RememberedIsThatOfHostAndPortUntilItIsGone) {
    const ScriptedPeer first({{handshake()}});
    std::optional<ScriptedPeer> second(std::in_place, std::vector<Script>{{handshake()}});
    names_.set("a.test", {first.endpoint()});
    names_.set("b.test", {second->endpoint()});
    EXPECT_EQ(connect_to("a.test:443"), ConnectCode::connected);
    EXPECT_EQ(connect_to("b.test:443"), ConnectCode::connected);
    names_.set("a.test", {second->endpoint()});
    EXPECT_EQ(connect_to("a.test:443"), ConnectCode::connected) << "remembered";
    EXPECT_EQ(connect_to("a.test:60443"), ConnectCode::connected) << "looked up anew";
    EXPECT_EQ(first.connection_count(), 2u);
    EXPECT_EQ(second->connection_count(), 2u);
    EXPECT_EQ(names_.lookups(), 3);

    second.reset();
    names_.set("b.test", {first.endpoint()});
    EXPECT_EQ(connect_to("b.test:443"), ConnectCode::connect_refused);
    EXPECT_EQ(connect_to("b.test:443"), ConnectCode::connected);
}

TEST_F(AddressTest, CookiesStayWithTheHostAndPortThatSetThem) {
    const Script setting = good_script("Set-Cookie: b=2; Path=/\r\nSet-Cookie: a=1; Secure\r\n");
    const ScriptedPeer first({setting});
    const ScriptedPeer other_port({setting});
    const ScriptedPeer other_host({setting}, {}, "127.0.0.2");
    const auto request_to = [this](const ScriptedPeer &peer) {
        const std::size_t connection = peer.connection_count();
        EXPECT_EQ(connect_to(peer.address()), ConnectCode::connected);
        EXPECT_EQ(post(client_).result.result, POST_RESULT_SUCCESS);
        return peer.record(connection).requests.at(0);
    };
    const std::string cookies = "\r\nCookie: a=1; b=2\r\n";
    for (const ScriptedPeer *peer : {&first, &other_port, &other_host})
        EXPECT_EQ(request_to(*peer).find("Cookie:"), std::string::npos) << peer->address();
    for (const ScriptedPeer *peer : {&first, &other_port, &other_host})
        EXPECT_NE(request_to(*peer).find(cookies), std::string::npos) << peer->address();
}

TEST_F(AddressTest, ResolveNameReportsTheFirstAddressOrNone) {
    names_.set("desktop.test", {{boost::asio::ip::make_address("192.0.2.1"), 0},
                                {boost::asio::ip::make_address("2001:db8::1"), 0}});
    EXPECT_EQ(resolve(client_, "desktop.test").result, "192.0.2.1");
    EXPECT_TRUE(CapturedLog::holds(
        "HttpsXmlClient::handle_addr_resolve: resolve returned address 192.0.2.1"));
    EXPECT_EQ(resolve(client_, "unknown.test").result, "");
    EXPECT_TRUE(CapturedLog::holds(
        "HttpsXmlClient::handle_addr_resolve: error trying to resolve hostname"));
}

} // namespace kavro
