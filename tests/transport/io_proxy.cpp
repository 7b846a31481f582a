#include "io_client.h"
#include "io_names.h"
#include "support/unreachable.h"

namespace kavro {

namespace {

using namespace std::string_literals;

const std::string consent = "HTTP/1.1 200 Fine\r\n\r\n";

class ProxyTest : public TransportTest {};

/// A peer that plays the proxy, and behind it the broker.
Script proxy_that(Script steps, const Script &broker = good_script()) {
    steps.insert(steps.end(), broker.begin(), broker.end());
    return steps;
}

ProxyHandle proxy_at(const std::string &kind, const ScriptedPeer &peer, const char *user) {
    return *parse_proxy(kind + "://" + peer.address(), user, "secret");
}

} // namespace

// What a proxy may answer is in the table of dialogues, and what ends or falls silent in the table
// of faults of the whole library.
TEST_F(ProxyTest, LeadsToTheBrokerUnderItsOwnName) {
    const Script consents = {expect_request(), send(consent)};
    const std::string wanted = "HTTP/1.1 407 No\r\nProxy-Authenticate: Basic\r\n";
    const auto socks_after = [](std::size_t request) {
        return proxy_that({expect_bytes(3), send("\x05\x00"s), expect_bytes(request),
                           send("\x05\x00\x00\x01\x00\x00\x00\x00\x00\x00"s)});
    };
    constexpr auto ok = ConnectCode::connected, failed = ConnectCode::proxy_failed,
                   log_in = ConnectCode::proxy_log_in_wanted;
    struct Row {
        const char *name, *kind, *user;
        std::vector<Script> scripts;
        ConnectCode code;
        int lookups = 0;
    };
    const Row rows[] = {
        Row("CONNECT", "http", nullptr, {proxy_that(consents)}, ok),
        Row("consent in pieces", "http", nullptr,
            {proxy_that({expect_request(), drip(consent, 5, 1ms)})}, ok),
        Row("log-in on the same connection", "http", "ann",
            {proxy_that({expect_request(), send(wanted + "Content-Length: 2\r\n\r\nno"),
                         expect_request(), send(consent)})},
            ok),
        Row("log-in on another connection", "http", "ann",
            {{expect_request(), send(wanted + "\r\n"), fin()}, proxy_that(consents)}, ok),
        Row("no log-in known", "http", nullptr,
            {{expect_request(), send(wanted + "Content-Length: 0\r\n\r\n")}}, log_in),
        Row("SOCKS", "socks5h", nullptr, {socks_after(18)}, ok),
        Row("SOCKS, looked up here", "socks5", nullptr, {socks_after(10)}, ok, 1),
        Row("reset", "http", nullptr, {{expect_request(), rst()}}, failed),
        Row("the broker is another", "http", nullptr,
            {proxy_that(consents, {send("HTTP/1.1 400 Bad\r\n\r\n")})},
            ConnectCode::tls_handshake_failed),
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const ScriptedPeer peer(row.scripts,
                                {.identity = trusted_server({.names = {"broker.test"}})});
        Names names;
        names.set("broker.test", {{boost::asio::ip::make_address("192.0.2.1"), 443}});
        HttpsXmlClient client(names.lookup());
        client.set_proxy(proxy_at(row.kind, peer, row.user));
        const auto outcome = connect(client, "broker.test:443", true);
        EXPECT_EQ(outcome.result.result, row.code) << outcome.result.error_text;
        EXPECT_EQ(names.lookups(), row.lookups);
        EXPECT_FALSE(CapturedLog::holds("secret"));
        if (row.code == ok) {
            EXPECT_EQ(post(client).result.result, POST_RESULT_SUCCESS);
            EXPECT_EQ(peer.record(row.scripts.size() - 1).server_name, "broker.test");
        }
    }
}

TEST_F(ProxyTest, IsTheOneToBlameBeforeItsConsent) {
    const FullBacklog silent;
    const std::pair<std::string, ConnectCode> rows[] = {
        {"http://nobody.test:3128", ConnectCode::proxy_failed},
        {"socks5://127.0.0.1:1", ConnectCode::proxy_failed},
        {"http://127.0.0.1:" + silent.port(), ConnectCode::timeout},
    };
    for (const auto &[proxy, code] : rows) {
        HttpsXmlClient client(Names().lookup());
        client.set_proxy(*parse_proxy(proxy, nullptr, nullptr));
        const auto outcome = connect(client, "broker.test:443", true, short_timeout);
        EXPECT_EQ(outcome.result.result, code) << proxy << ": " << outcome.result.error_text;
        EXPECT_LT(outcome.took, short_timeout + margin);
    }
}

} // namespace kavro
