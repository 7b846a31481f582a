#include "wire_client.h"

#include <gtest/gtest.h>

using namespace broker_sim;
using namespace std::chrono_literals;
namespace asio = boost::asio;

namespace {

const auto limit = std::chrono::seconds(20);
const std::string hello = http_request("<hello/>");

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

TEST(Wire, RecordsRequestsByteForByte) {
    Simulator simulator{Scenario{}};
    const std::string vars = "<hello><client-to-broker-variables><variable><name>a</name>"
                             "<value>1</value></variable></client-to-broker-variables></hello>";
    converse(simulator, http_request(vars, "x=y"));
    converse(simulator, "POST /kavro-broker/xml HTTP/1.1\r\nContent-Length: 3\r\n"
                        "Connection: close\r\n\r\n<<<");
    ASSERT_TRUE(simulator.wait_for_requests(2, limit));
    const auto requests = simulator.requests();
    EXPECT_EQ(requests[0].head + requests[0].body, http_request(vars, "x=y"));
    EXPECT_EQ(requests[0].kind, "hello");
    EXPECT_EQ(requests[1].kind, "");
    EXPECT_EQ(requests[1].body, "<<<");
    EXPECT_EQ(requests[1].connection, 2u);
    EXPECT_EQ(simulator.client_to_broker_variables(), (Variables{{"a", "1"}}));
    simulator.clear_recording();
    EXPECT_TRUE(simulator.requests().empty());
}

TEST(Wire, EndingsCutTheResponse) {
    const struct {
        Fault fault;
        WireClient::Error end;
    } cases[] = {
        {{.ending = Ending::stall}, asio::error::timed_out},
        {{.ending = Ending::stall, .at_byte = 20}, asio::error::timed_out},
        {{.ending = Ending::close}, asio::error::eof},
        {{.ending = Ending::fin, .at_byte = 40}, asio::ssl::error::stream_truncated},
        {{.ending = Ending::reset, .at_byte = 60}, asio::error::connection_reset},
    };
    Simulator simulator{Scenario{}};
    for (const auto &[fault, end] : cases) {
        simulator.clear_faults();
        simulator.inject(fault);
        const auto patience = fault.ending == Ending::stall ? 300ms : limit;
        const auto received = converse(simulator, hello, patience);
        EXPECT_EQ(received.end, end) << end.message() << ", not " << received.end.message();
        EXPECT_EQ(received.text().size(), fault.at_byte);
    }
}

TEST(Wire, EndingsBeforeTls) {
    Simulator simulator{Scenario{}};
    simulator.inject({.stage = Stage::handshake, .ending = Ending::stall});
    EXPECT_EQ(WireClient(simulator, 300ms).handshake(), asio::error::timed_out);
    simulator.inject({.stage = Stage::handshake, .ending = Ending::fin});
    EXPECT_EQ(WireClient(simulator).handshake(), asio::ssl::error::stream_truncated);
    simulator.inject({.stage = Stage::handshake, .ending = Ending::reset});
    EXPECT_TRUE(WireClient(simulator).handshake());
    EXPECT_EQ(simulator.connections(), 3u);

    simulator.inject({.stage = Stage::accept, .ending = Ending::stall});
    EXPECT_EQ(WireClient(simulator, 300ms).connect(), asio::error::timed_out);
    EXPECT_EQ(simulator.connections(), 3u);
}

TEST(Wire, ResponseComesInThePiecesAskedFor) {
    Simulator simulator{Scenario{}};
    const std::string whole = body_of(converse(simulator, hello).text());

    const auto pieces = [](const std::string &text, std::size_t size) {
        return (text.size() + size - 1) / size;
    };
    simulator.inject({.record_size = 7});
    const auto records = converse(simulator, hello);
    EXPECT_EQ(records.pieces.size(), pieces(records.text(), 7));
    EXPECT_EQ(records.pieces[1].size(), 7u);
    EXPECT_EQ(body_of(records.text()), whole);

    simulator.inject({.drip_bytes = 200, .drip_every = 10ms});
    const auto begin = std::chrono::steady_clock::now();
    const auto drops = converse(simulator, hello);
    EXPECT_EQ(drops.pieces.size(), pieces(drops.text(), 200));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, (drops.pieces.size() - 1) * 10ms);
    EXPECT_EQ(body_of(drops.text()), whole);

    simulator.inject({.chunks = {1, 2, 30}});
    const std::string chunked = converse(simulator, hello).text();
    EXPECT_NE(chunked.find("Transfer-Encoding: chunked"), std::string::npos);
    EXPECT_EQ(joined_chunks(body_of(chunked)), whole);
}

TEST(Wire, FaultsStrikeTheRequestTheyAreFor) {
    Simulator simulator{Scenario{}};
    simulator.inject({.match = {.request = "hello", .nth = 2}, .status_line = "HTTP/1.0 200 OK"});
    simulator.inject({.match = {.connection = 3}, .bad_xml = true});
    simulator.inject({.match = {.request = "bye"}, .delay = 100ms});
    const auto first = converse(simulator, hello).text();
    const auto second = converse(simulator, hello).text();
    const auto third = converse(simulator, hello).text();
    EXPECT_TRUE(first.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_TRUE(second.starts_with("HTTP/1.0 200 OK\r\n"));
    EXPECT_TRUE(third.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(body_of(third), body_of(first).substr(0, body_of(first).size() / 2));
    const auto begin = std::chrono::steady_clock::now();
    converse(simulator, http_request("<bye/>"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
}

TEST(Wire, OverridesAnswerInsteadOfTheBroker) {
    const struct {
        Override scripted;
        std::vector<const char *> expected;
    } cases[] = {
        {{.result_id = "NEW_RESULT", .result_str = "a<b"},
         {"<hello-resp>", "<result-id>NEW_RESULT<", "<result-str>a&lt;b<"}},
        {{.error_id = "ERR_CM_FAILED", .detected_by = "CM", .err_detail = "why"},
         {"<error-resp>", "<result-id>ERR_CM_FAILED<", "<detected-by>CM<", "<err-detail>why<"}},
        {{.status = 302, .headers = {{"Location", "/x"}, {"Set-Cookie", "a=1; Path=/"}}},
         {"HTTP/1.1 302 Found", "Location: /x", "Set-Cookie: a=1;",
          "Set-Cookie: JSESSIONID=", "<hello-resp>"}},
        {{.headers = {{"Content-Length", "2"}}, .body = "hi, all"},
         {"Length: 2\r\n", "\r\n\r\nhi"}},
        {{.raw = "any bytes"}, {"any bytes"}},
    };
    Simulator simulator{Scenario{}};
    for (const auto &[scripted, expected] : cases) {
        simulator.clear_faults();
        simulator.set_override(scripted);
        const std::string answer = converse(simulator, hello).text();
        for (const char *part : expected)
            EXPECT_NE(answer.find(part), std::string::npos) << part << " not in\n" << answer;
    }
}

TEST(Wire, StopsWithConnectionsInEveryState) {
    auto simulator = std::make_unique<Simulator>(
        Scenario{.faults = {{.match = {.connection = 3}, .ending = Ending::stall, .at_byte = 5}}});
    WireClient idle(*simulator), secured(*simulator), stalled(*simulator);
    ASSERT_FALSE(idle.connect());
    ASSERT_FALSE(secured.handshake());
    ASSERT_FALSE(stalled.handshake());
    ASSERT_FALSE(stalled.send(hello));
    ASSERT_TRUE(simulator->wait_for_requests(1, limit));
    simulator.reset();
    EXPECT_NE(secured.receive().end, asio::error::timed_out);
    EXPECT_NE(stalled.receive().end, asio::error::timed_out);
}
