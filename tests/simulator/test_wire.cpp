// What the servers send and record, byte for byte.
#include "wire_client.h"

#include <gtest/gtest.h>

using namespace broker_sim;
using namespace std::chrono_literals;
namespace asio = boost::asio;
using asio::error::timed_out;

namespace {

const auto limit = std::chrono::seconds(20);
const std::string hello = http_request("<hello/>");

Scenario all_servers() {
    return {.view_broker = Listener{},
            .direct_host = Listener{},
            .registration = Registration{},
            .provisioning = Provisioning{}};
}

std::string get(const char *path) {
    return std::string("GET ") + path + " HTTP/1.1\r\nConnection: close\r\n\r\n";
}

std::string body_of(const std::string &response) {
    return response.substr(response.find("\r\n\r\n") + 4);
}

std::string joined_chunks(std::string_view body) {
    std::string text;
    while (const std::size_t size = std::stoul(std::string(body), nullptr, 16)) {
        const std::size_t begin = body.find("\r\n") + 2;
        text += body.substr(begin, size);
        body.remove_prefix(begin + size + 2);
    }
    return text;
}

} // namespace

TEST(Wire, EachServerAnswersItsOwnPathsAndAsItIsTold) {
    using namespace server_name;
    const std::string view =
        "POST /broker/xml HTTP/1.1\r\nConnection: close\r\nContent-Length: 9\r\n\r\n<broker/>";
    struct Row {
        std::string_view server;
        std::string request;
        std::vector<const char *> parts; ///< of the answer
        Override scripted = {.match = {.request = "nothing"}};
    };
    const Row rows[] = {
        Row(view_broker, view, {"HTTP/1.1 200", "<broker version="}),
        Row(view_broker, hello, {"HTTP/1.1 404"}),
        Row(broker, view, {"HTTP/1.1 404"}),
        Row(broker, get("/cm-lookup.cfg"), {"HTTP/1.1 404"}),
        Row(broker, get("/kavro-broker/xml"), {"HTTP/1.1 405"}),
        Row(broker, "no request\r\n\r\n", {"HTTP/1.1 400"}),
        Row(registration, get("/cm-lookup.cfg"),
            {"HTTP/1.1 200", "Content-Type: application/json"}),
        Row(registration, get("/"), {"HTTP/1.1 404"}),
        Row(provisioning, hello, {"HTTP/1.1 200", "ERR_UNSUPPORTED_REQUEST"}),
        Row(broker, http_request("<session-provision/>"), {"200", "ERR_UNSUPPORTED_REQUEST"}),
        Row(registration, get("/cm-lookup.cfg"), {"garbage"},
            {.match = {.request = "registration-table"}, .raw = "garbage"}),
        Row(broker, hello, {"<hello-resp>"},
            {.match = {.server = "direct_host"}, .raw = "garbage"}),
        Row(broker, hello, {"<hello-resp>", "<result-id>NEW_RESULT<", "<result-str>a&lt;b<"},
            {.result_id = "NEW_RESULT", .result_str = "a<b"}),
        Row(broker, hello,
            {"<error-resp>", "<result-id>ERR_CM_FAILED<", "<detected-by>CM<", "<err-detail>why<"},
            {.error_id = "ERR_CM_FAILED", .detected_by = "CM", .err_detail = "why"}),
        Row(broker, hello,
            {"HTTP/1.1 302 Found", "Location: /x", "Set-Cookie: a=1;",
             "Set-Cookie: JSESSIONID=", "<hello-resp>"},
            {.status = 302, .headers = {{"Location", "/x"}, {"Set-Cookie", "a=1; Path=/"}}}),
        Row(broker, hello, {"Length: 2\r\n", "\r\n\r\nhi"},
            {.headers = {{"Content-Length", "2"}}, .body = "hi, all"}),
    };
    Simulator simulator{all_servers()};
    for (const auto &[server, request, parts, scripted] : rows) {
        simulator.clear_faults();
        simulator.set_override(scripted);
        const std::string answer = converse(simulator, request, limit, server).text;
        for (const char *part : parts)
            EXPECT_NE(answer.find(part), std::string::npos) << server << " " << request << answer;
    }
    EXPECT_EQ(simulator.connections(registration), 3u);
    EXPECT_EQ(converse(simulator, view, 300ms, direct_host).end, timed_out);
    EXPECT_EQ(simulator.requests().back().server, direct_host);
}

TEST(Wire, TheProxyTellsWhoMayPass) {
    using namespace std::string_literals;
    using server_name::proxy;
    const std::string connect = "CONNECT broker.test:443 HTTP/1.1\r\nConnection: close\r\n",
                      offer = "Proxy-Authenticate: Basic realm=\"simulator\", charset=\"UTF-8\"",
                      ann = "\x01\x03"
                            "ann\x06secret"s,
                      eve = "\x01\x03"
                            "eve\x06secret"s,
                      by_name = "\x05\x01\x00\x03\x0b"
                                "broker.test\x01\xbb"s;
    const struct {
        std::string said, heard; ///< the beginning
        Override scripted = {.match = {.request = "nothing"}};
    } rows[] = {
        {connect + "\r\n", "HTTP/1.1 407 "},
        {connect + "Proxy-Authorization: basic YW5uOnNlY3JldA==\r\n\r\n", "HTTP/1.1 200 "},
        {connect + "Proxy-Authorization: Basic ZXZlOnNlY3JldA==\r\n\r\n", "HTTP/1.1 407 "},
        {connect + "Proxy-Authorization: NTLM YW5uOnNlY3JldA==\r\n\r\n", "HTTP/1.1 407 "},
        {"GET / HTTP/1.1\r\nConnection: close\r\n\r\n", "HTTP/1.1 405 "},
        {connect + "\r\n", "HTTP/1.1 502 ", {.status = 502, .body = "none"}},
        {"\x05\x01\x00"s, "\x05\xff"s},
        {"\x05\x02\x00\x02"s + ann + by_name, "\x05\x02\x01\x00\x05\x00"s},
        {"\x05\x01\x02"s + eve, "\x05\x02\x01\x01"s},
        {"\x05\x01\x02"s + ann + by_name, "\x05\x02\x01\x00\x05\x04"s, {.status = 4}},
        {"\x05\x01\x02"s + ann + by_name, "\x05\x02\x01\x00\x05\x02"s, {.status = 403}},
    };
    Simulator simulator(
        {.proxy = Proxy{.log_in = {"ntlm", "basic"}, .users = {{"ann", "secret"}}}});
    for (const auto &[said, heard, scripted] : rows) {
        simulator.clear_faults();
        simulator.set_override(scripted);
        const std::string answer = say(simulator.address(), simulator.port(proxy), said);
        EXPECT_EQ(answer.substr(0, heard.size()), heard) << said;
        EXPECT_EQ(answer.find(offer) != answer.npos, heard == "HTTP/1.1 407 ") << answer;
    }
    EXPECT_EQ(simulator.connections(), 2u) << "those that may pass";
}

TEST(Wire, AConnectionEndsWhenItHasBeenIdleOrHadItsAnswers) {
    const std::string kept = "POST / HTTP/1.1\r\nContent-Length: 0\r\n\r\n";
    for (const Patience patience : {Patience{.most_requests = 2}, Patience{.idle = 50ms}}) {
        Simulator simulator({.patience = patience});
        const auto received = converse(simulator, kept + kept);
        EXPECT_EQ(received.end, asio::error::eof);
        EXPECT_EQ(received.pieces.size(), 2u);
        EXPECT_EQ(received.pieces[1].find("Connection: close") != std::string::npos,
                  patience.most_requests == 2);
    }
}

TEST(Wire, AnswersComeInThePiecesAskedFor) {
    Simulator simulator{Scenario{}};
    const std::string whole = body_of(converse(simulator, hello).text);

    const auto pieces = [](const std::string &text, std::size_t size) {
        return (text.size() + size - 1) / size;
    };
    simulator.inject({.record_size = 7});
    const auto records = converse(simulator, hello);
    EXPECT_EQ(records.pieces.size(), pieces(records.text, 7));
    EXPECT_EQ(records.pieces[1].size(), 7u);
    EXPECT_EQ(body_of(records.text), whole);

    simulator.inject({.drip_bytes = 200, .drip_every = 10ms});
    const auto begin = std::chrono::steady_clock::now();
    const auto drops = converse(simulator, hello);
    EXPECT_EQ(drops.pieces.size(), pieces(drops.text, 200));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, (drops.pieces.size() - 1) * 10ms);
    EXPECT_EQ(body_of(drops.text), whole);

    simulator.inject({.status_line = "HTTP/1.0 200 OK", .bad_xml = true});
    const std::string half = converse(simulator, hello).text;
    EXPECT_TRUE(half.starts_with("HTTP/1.0 200 OK\r\n")) << half;
    EXPECT_EQ(body_of(half), whole.substr(0, whole.size() / 2));

    simulator.inject({.chunks = {1, 2, 30}});
    const std::string chunked = converse(simulator, hello).text;
    EXPECT_NE(chunked.find("Transfer-Encoding: chunked"), std::string::npos);
    EXPECT_EQ(joined_chunks(body_of(chunked)), whole);
}
