// The servers beside the broker.
#include "system.h"
#include "wire_client.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using namespace broker_sim;
using namespace std::chrono_literals;
namespace asio = boost::asio;

namespace {

Scenario all_servers() {
    return {.allocation = {.connect_tag = "fetched", .provisioned = true},
            .desktops = {{.name = "Hosted", .id = "hosted"}},
            .view_broker = Listener{},
            .direct_host = Listener{},
            .registration = Registration{.table = R"({"a":{"b":"${broker}"},"c":"${broker}"})"},
            .provisioning = Provisioning{}};
}

std::string answer_of(const Simulator &simulator, std::string_view server, std::string_view bytes) {
    return converse(simulator, bytes, 20s, server).text();
}

std::string text_between(const std::string &text, const std::string &begin,
                         const std::string &end) {
    const std::size_t at = text.find(begin);
    if (at == std::string::npos)
        return "";
    const std::size_t start = at + begin.size();
    return text.substr(start, text.find(end, start) - start);
}

std::string table_request(const char *path = "/cm-lookup.cfg") {
    return std::string("GET ") + path + " HTTP/1.1\r\nConnection: close\r\n\r\n";
}

/// As clients write it: the fields of the head run together.
std::string provisioning_request(const std::string &session, const std::string &ticket) {
    const std::string body = document(
        "<session-provision><jsessionid>" + session + "</jsessionid><gateway-ticket>" + ticket +
        "</gateway-ticket><request-context><amzn-request-id>1</amzn-request-id>"
        "</request-context><client-info><time-zone-windows></time-zone-windows>"
        "<locale>en_US</locale></client-info></session-provision>");
    return "POST /kavro-broker/xml HTTP/1.1\r\nHost: 127.0.0.1"
           "Content-Type: text/xml charset=UTF-8Content-Length: " +
           std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
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

TEST(Servers, TheTableNamesTheBrokerThatRuns) {
    Simulator simulator{all_servers()};
    const std::string address = "https://127.0.0.1:" + std::to_string(simulator.port());
    const std::string table = R"({"a":{"b":")" + address + R"("},"c":")" + address + R"("})";
    EXPECT_TRUE(answer_of(simulator, server_name::registration, table_request()).ends_with(table));

    const auto folder = test_support::fresh_folder();
    simulator.write_table_cache(folder);
    std::ostringstream cache;
    cache << std::ifstream(folder / "conversion_table.dat", std::ios::binary).rdbuf();
    std::filesystem::remove_all(folder);
    const std::string stored = cache.str();
    ASSERT_EQ(stored.substr(0, 4), std::string({static_cast<char>(table.size()), 0, 0, 0}));
    std::string read(table.size(), '\0');
    uLongf size = read.size();
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef *>(read.data()), &size,
                         reinterpret_cast<const Bytef *>(stored.data() + 4), stored.size() - 4),
              Z_OK);
    EXPECT_EQ(read, table);
}

TEST(Servers, ProvisioningTakesWhatTheBrokerHandedOutAndTakesItOnce) {
    Simulator simulator{all_servers()};
    const auto hello = converse(simulator, http_request("<hello/>")).text();
    const std::string session = text_between(hello, "JSESSIONID=", ";");
    const auto allocate = [&] {
        return converse(simulator,
                        http_request("<allocate-resource><resource-id>hosted</resource-id>"
                                     "</allocate-resource>",
                                     "JSESSIONID=" + session))
            .text();
    };
    const std::string handed_out = allocate();
    const std::string ticket = text_between(handed_out, "<value>", "<");
    EXPECT_EQ(handed_out.find("<target>"), std::string::npos);
    EXPECT_EQ(text_between(handed_out, "<ip-address>", "<"), "127.0.0.1");
    EXPECT_EQ(text_between(handed_out, "<port>", "<"),
              std::to_string(simulator.port(server_name::provisioning)));
    EXPECT_NE(handed_out.find("-----BEGIN CERTIFICATE-----"), std::string::npos);

    const struct {
        std::string session, ticket;
        const char *result;
    } cases[] = {
        {session, "guessed", "SESSION_PROVISION_FAILED_INVALID_TICKET"},
        {"guessed", ticket, "ERR_INVALID_SESSION"},
        {session, ticket, "SESSION_PROVISION_SUCCESSFUL"},
        {session, ticket, "SESSION_PROVISION_FAILED_INVALID_TICKET"},
    };
    for (const auto &[cookie, shown, result] : cases) {
        const auto answer =
            answer_of(simulator, server_name::provisioning, provisioning_request(cookie, shown));
        EXPECT_EQ(text_between(answer, "<result-id>", "<"), result);
        EXPECT_EQ(text_between(answer, "<connect-tag>", "<"),
                  result == std::string("SESSION_PROVISION_SUCCESSFUL") ? "fetched" : "");
    }
    EXPECT_EQ(simulator.requests().back().kind, "session-provision");
    EXPECT_NE(text_between(allocate(), "<value>", "<"), ticket);
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
