// The servers beside the broker.
#include "wire_client.h"

#include <gtest/gtest.h>

using namespace broker_sim;
using namespace std::chrono_literals;
namespace asio = boost::asio;

namespace {

Scenario all_servers() {
    return {.view_broker = Listener{},
            .direct_host = Listener{},
            .registration = Registration{},
            .provisioning = Provisioning{}};
}

std::string answer_of(const Simulator &simulator, std::string_view server, std::string_view bytes) {
    return converse(simulator, bytes, 20s, server).text();
}

std::string table_request(const char *path = "/cm-lookup.cfg") {
    return std::string("GET ") + path + " HTTP/1.1\r\nConnection: close\r\n\r\n";
}

TEST(Servers, EachAnswersItsOwnPathsOnly) {
    using namespace server_name;
    Simulator simulator{all_servers()};
    const std::string view =
        "POST /broker/xml HTTP/1.1\r\nConnection: close\r\nContent-Length: 9\r\n\r\n<broker/>";
    const struct {
        std::string_view server;
        std::string request;
        const char *status;
        const char *content;
    } cases[] = {
        {view_broker, view, "HTTP/1.1 200", "<broker version="},
        {view_broker, http_request("<hello/>"), "HTTP/1.1 404", ""},
        {broker, view, "HTTP/1.1 404", ""},
        {broker, table_request(), "HTTP/1.1 404", ""},
        {broker, table_request("/kavro-broker/xml"), "HTTP/1.1 405", ""},
        {broker, "no request\r\n\r\n", "HTTP/1.1 400", ""},
        {registration, table_request(), "HTTP/1.1 200", "Content-Type: application/json"},
        {registration, table_request("/"), "HTTP/1.1 404", ""},
        {provisioning, http_request("<hello/>"), "HTTP/1.1 200", "ERR_UNSUPPORTED_REQUEST"},
        {broker, http_request("<session-provision/>"), "HTTP/1.1 200", "ERR_UNSUPPORTED_REQUEST"},
    };
    for (const auto &[server, request, status, content] : cases) {
        const std::string answer = answer_of(simulator, server, request);
        EXPECT_TRUE(answer.starts_with(status)) << server << " " << request << answer;
        EXPECT_NE(answer.find(content), std::string::npos) << server << " " << request << answer;
    }
    const auto silence = converse(simulator, view, 300ms, direct_host);
    EXPECT_EQ(silence.text(), "");
    EXPECT_EQ(silence.end, asio::error::timed_out);
    EXPECT_EQ(simulator.requests().back().server, direct_host);
    EXPECT_EQ(simulator.connections(registration), 2u);
}

TEST(Servers, FaultsAndOverridesStrikeOneServerOrAll) {
    Simulator simulator{all_servers()};
    const auto end_of = [&](std::string_view server) {
        return WireClient(simulator, 300ms, server).handshake();
    };
    simulator.inject(
        {.match = {.server = "direct_host"}, .stage = Stage::handshake, .ending = Ending::fin});
    EXPECT_FALSE(end_of(server_name::broker));
    EXPECT_EQ(end_of(server_name::direct_host), asio::ssl::error::stream_truncated);
    simulator.inject({.stage = Stage::handshake, .ending = Ending::fin});
    EXPECT_EQ(end_of(server_name::broker), asio::ssl::error::stream_truncated);
    simulator.clear_faults();

    simulator.inject({.match = {.request = "view"}, .ending = Ending::fin});
    simulator.set_override({.match = {.request = "registration-table"}, .raw = "garbage"});
    EXPECT_EQ(
        converse(simulator,
                 "POST /broker/xml HTTP/1.1\r\nConnection: close\r\nContent-Length: 0\r\n\r\n", 20s,
                 server_name::view_broker)
            .end,
        asio::ssl::error::stream_truncated);
    EXPECT_EQ(answer_of(simulator, server_name::registration, table_request()), "garbage");
}

} // namespace
