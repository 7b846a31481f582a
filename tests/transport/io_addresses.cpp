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
};

} // namespace

TEST_F(AddressTest, OnlyANameIsIndicatedToTheServer) {
    const ScriptedPeer peer({{handshake()}});
    names_.set("broker.test", {peer.endpoint()});
    const struct {
        std::string address;
        std::string_view server_name;
        std::string_view host;
    } cases[] = {
        {"127.0.0.1:", "", "127.0.0.1"},
        {"broker.test:", "broker.test", "broker.test"},
        {"https://[::ffff:127.0.0.1]:", "", "::ffff:127.0.0.1"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].address);
        const auto outcome = connect(client_, cases[i].address + peer.port());
        ASSERT_EQ(outcome.result.result, ConnectCode::connected);
        EXPECT_EQ(outcome.result.host, cases[i].host);
        EXPECT_EQ(client_.host(), cases[i].host);
        ASSERT_TRUE(peer.wait_for(i, [](const PeerRecord &seen) { return seen.handshaken; }));
        EXPECT_EQ(peer.record(i).server_name, cases[i].server_name);
    }
    EXPECT_EQ(names_.lookups(), 1);
    EXPECT_EQ(client_.remote_address(), "::ffff:127.0.0.1");
    EXPECT_EQ(client_.local_address(), "::ffff:127.0.0.1");
}

TEST_F(AddressTest, UnusableAddressIsRefusedWithoutALookUp) {
    const ScriptedPeer peer({good_script()});
    ASSERT_EQ(connect(client_, peer.address(), true).result.certificates.size(), 2u);
    for (const std::string &address :
         {std::string(), std::string("a b"), std::string("broker.test\r\nHost: other.test"),
          std::string(3000, 'a')}) {
        SCOPED_TRACE(address);
        const auto outcome = connect(client_, address, true, ample, "443");
        EXPECT_EQ(outcome.result.result, ConnectCode::invalid_params);
        EXPECT_EQ(outcome.result.certificates.size(), 0u) << "those of the connection before";
    }
    EXPECT_EQ(names_.lookups(), 0);
}

TEST_F(AddressTest, WhatNeedsNoLookUpToBeWrongThrows) {
    const struct {
        std::string address, port, error;
    } cases[] = {
        {"127.0.0.1", "", "\"\" is no port number"},
        {"127.0.0.1", "443x", "\"443x\" is no port number"},
        {"127.0.0.1", "65536", "\"65536\" is no port number"},
        {std::string(300, 'a'), "443", "the host name is too long for TLS"},
    };
    for (const auto &[address, port, error] : cases) {
        SCOPED_TRACE(port);
        Client client;
        const auto completed = [](const ConnectResult &) { ADD_FAILURE(); };
        try {
            client.connect(address, false, completed, ample, port);
            ADD_FAILURE() << "no exception";
        } catch (const std::logic_error &failure) {
            EXPECT_EQ(failure.what(), error);
        }
        client.run_io(true);
    }
}

TEST_F(AddressTest, NameThatIsNotFoundOrHasNoPortIsNotResolved) {
    names_.set("broker.test", {refusing_.endpoint()});
    names_.set("nowhere.test", {});
    const std::pair<const char *, const char *> cases[] = {
        {"unknown.test", "443"},  {"nowhere.test", "443"},  {"broker.test", ""},
        {"broker.test", "https"}, {"broker.test", "99999"}, {"broker.test:", "-1"}};
    for (const auto &[host, port] : cases) {
        SCOPED_TRACE(host);
        EXPECT_EQ(connect(client_, host, true, ample, port).result.result,
                  ConnectCode::resolve_failed);
    }
    EXPECT_EQ(names_.lookups(), 2);
}

TEST_F(AddressTest, AddressesAreTriedSideBySideUnderOneTimeOut) {
    const ScriptedPeer peer({good_script()}, {.identity = trusted_server({"broker.test"})});
    const FullBacklog silent;
    names_.set("broker.test",
               {silent.endpoint(), refusing_.endpoint(), silent.endpoint(), peer.endpoint()});
    const auto report = std::make_shared<ConnectionReport>();
    client_.report_to(report);
    EXPECT_EQ(connect(client_, "broker.test:443", true).result.result, ConnectCode::connected);
    EXPECT_EQ(CapturedLog::count("Deadline Timer timeout set to 5000 milliseconds."), 1);
    EXPECT_EQ(report->tried.size(), 4u);
    EXPECT_EQ(report->address, peer.address());
    EXPECT_EQ(post(client_).result.result, POST_RESULT_SUCCESS);

    // The address that answered is the one that is remembered.
    EXPECT_EQ(connect(client_, "broker.test:443", true).result.result, ConnectCode::connected);
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
}

TEST_F(AddressTest, RememberedAddressIsThatOfHostAndPort) {
    const ScriptedPeer first({{handshake()}});
    const ScriptedPeer second({{handshake()}});
    const auto connect_to = [this](const std::string &address) {
        EXPECT_EQ(connect(client_, address).result.result, ConnectCode::connected);
    };
    names_.set("a.test", {first.endpoint()});
    names_.set("b.test", {second.endpoint()});
    connect_to("a.test:443");
    connect_to("b.test:443");
    names_.set("a.test", {second.endpoint()});
    connect_to("a.test:443");   // remembered
    connect_to("a.test:60443"); // another port is looked up anew
    EXPECT_EQ(first.connection_count(), 2u);
    EXPECT_EQ(second.connection_count(), 2u);
    EXPECT_EQ(names_.lookups(), 3);
}

TEST_F(AddressTest, RememberedAddressThatIsGoneIsLookedUpAgain) {
    {
        const ScriptedPeer peer({{handshake()}});
        names_.set("broker.test", {peer.endpoint()});
        EXPECT_EQ(connect(client_, "broker.test:443").result.result, ConnectCode::connected);
    }
    const ScriptedPeer moved({{handshake()}});
    names_.set("broker.test", {moved.endpoint()});
    EXPECT_EQ(connect(client_, "broker.test:443").result.result, ConnectCode::connect_refused);
    EXPECT_EQ(connect(client_, "broker.test:443").result.result, ConnectCode::connected);
}

TEST_F(AddressTest, CookiesStayWithTheHostAndPortThatSetThem) {
    const Script setting = good_script("Set-Cookie: b=2; Path=/\r\nSet-Cookie: a=1; Secure\r\n");
    const ScriptedPeer first({setting});
    const ScriptedPeer other_port({setting});
    const ScriptedPeer other_host({setting}, {}, "127.0.0.2");
    const auto request_to = [this](const ScriptedPeer &peer) {
        const std::size_t connection = peer.connection_count();
        EXPECT_EQ(connect(client_, peer.address()).result.result, ConnectCode::connected);
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
