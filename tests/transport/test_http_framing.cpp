#include "support/repeated.h"
#include "transport/http_framing.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kavro {
namespace {

using namespace std::string_literals;
using test_support::repeated;
using State = HttpResponseParser::State;

TEST(HttpRequest, IsBuiltByteByByte) {
    const std::string before = "POST /kavro-broker/xml HTTP/1.1\r\nHost: broker.test\r\n";
    const std::string types = "Accept: text/*, application/octet-stream\r\n"
                              "Content-Type: text/xml; charset=UTF-8\r\n";
    const std::string after = "User-Agent: Mozilla/4.0 (compatible; MSIE 6.0)\r\n"
                              "Content-Length: 9\r\n"
                              "Connection: Keep-Alive\r\n"
                              "Cache-Control: no-cache\r\n"
                              "\r\n";
    const std::string body = "<\xc3\xbc/>\r\n<x";
    const auto request = [&](const char *log_id, const CookieTable &cookies) {
        return std::string(
            http_post_request("/kavro-broker/xml", "broker.test", log_id, cookies, body));
    };
    EXPECT_EQ(request("", {}), before + types + after + body);
    EXPECT_EQ(request("4711-0", {{"b", "2"}, {"a", "1"}, {"s", ""}}),
              before + "Client-Log-Id: 4711-0\r\n" + types + "Cookie: a=1; b=2; s=\r\n" + after +
                  body);
}

struct Response {
    std::string text;
    State state;      ///< need_more without the end of the stream
    std::string body; ///< or why it is mangled, when that matters
    CookieTable cookies = {};
    HttpRules rules = {};
};

/// Reads a response out of pieces, as a socket would bring them.
class Reader {
public:
    explicit Reader(const HttpRules &rules = {}) : parser(cookies, rules) {}

    State read(std::string_view bytes) {
        while (state == State::need_more && !bytes.empty()) {
            const auto space = parser.space();
            const std::size_t size = std::min(bytes.size(), space.size);
            std::memcpy(space.data, bytes.data(), size);
            bytes.remove_prefix(size);
            taken += size;
            state = parser.received(size);
        }
        return state;
    }

    void expect(const Response &response) {
        if (state == State::need_more && response.state != State::need_more)
            state = parser.end_of_stream();
        EXPECT_EQ(state, response.state);
        EXPECT_EQ(cookies, response.cookies);
        if (state == State::complete) {
            EXPECT_EQ(std::string(parser.take_body()), response.body);
        } else if (!response.body.empty()) {
            EXPECT_EQ(parser.reason(), response.body);
        }
    }

    CookieTable cookies;
    HttpResponseParser parser;
    State state = State::need_more;
    std::size_t taken = 0;
};

/// However the bytes come in, the outcome is the same. Long texts come as a whole and by the byte.
void check(const Response &response) {
    const std::string_view text = response.text;
    SCOPED_TRACE(text.substr(0, 200));
    for (std::size_t split = 0; split <= text.size() && (split == 0 || text.size() < 1000);
         ++split) {
        Reader reader(response.rules);
        reader.read(text.substr(0, split));
        reader.read(text.substr(split));
        reader.expect(response);
    }
    Reader by_byte(response.rules);
    for (const char &byte : text)
        by_byte.read({&byte, 1});
    by_byte.expect(response);
}

const std::string ok = "HTTP/1.1 200 OK\r\n";
const std::string length_2 = "Content-Length: 2\r\n";
const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";

TEST(HttpResponse, StatusLine) {
    const std::string rest = "\r\n" + length_2 + "\r\nhi";
    for (const char *line : {"HTTP/1.1 200 OK", "http/1.1 200 OK", "HTTP/1.1 200", "HTTP/1.1 200 "})
        check({line + rest, State::complete, "hi"});
    for (const char *line :
         {"HTTP/1.1 100 Continue", "HTTP/1.1 204 No Content", "HTTP/1.1 302 Found",
          "HTTP/1.1 401 ?", "HTTP/1.1 500", "HTTP/1.1 000 x", "HTTP/1.1 2000", "HTTP/1.1 99 x"})
        check({line + rest, State::not_ok, ""});
    for (const char *line : {"HTTP/1.0 200 OK", "HTTP/2 200 OK", "PRI * HTTP/2.0", "HTTP/1.1",
                             "HTTP/1.1 ", "HTTP/1.1 200abc", "HTTP/1.1 0200 OK", "HTTP/1.1 +200 OK",
                             "HTTP/1.1 -200 OK", "HTTP/1.1 99999999999 x", "HTTP/1.1  200 OK",
                             "HTTP/1.1\t200 OK", "HTTP/1.1 0x200", " HTTP/1.1 200 OK", ""})
        check({line + rest, State::mangled, ""});
    check({"HTTP/1.1 200 OK\nContent-Length: 2\n\nhi", State::need_more, ""});
    check({"HTTP/1.1 500 No\r\nContent-Length: 1000000000\r\nSet-Cookie: a=b; c\r\n\r\n" +
               std::string(100, 'x'),
           State::not_ok, ""});
}

TEST(HttpResponse, BodyByLength) {
    const std::pair<const char *, const char *> read[] = {
        {"Content-Length: 2", "hi"},
        {"Content-Length:2", "hi"},
        {"Content-Length:  \t 2 \t", "hi"},
        {"Content-Length: 2\r\nContent-Length: 2", "hi"},
        {"Content-Length: 0", ""},
        {"X-Content-Length: 5\r\nContent-Length: 1", "h"},
        {"Transfer-Encoding: identity\r\nContent-Length: 2", "hi"},
        {"Transfer-Encoding-X: chunked\r\nContent-Length: 2", "hi"},
    };
    for (const auto &[headers, body] : read)
        check({ok + headers + "\r\n\r\nhi, and what follows", State::complete, body});
    for (const char *headers :
         {"Server: x", "content-length: 2", "X-Content-Length: 2",
          "Set-Cookie: a=Content-Length: 2", "Content-Length: 2\r\nContent-Length: 3",
          "Content-Length:", "Content-Length: -1", "Content-Length: +2", "Content-Length: 12abc",
          "Content-Length: 1,234", "Content-Length: 0x2", "Content-Length: 9223372036854775808",
          "Content-Length: 18446744073709551616", "Content-Length: 67108865",
          "Transfer-Encoding: gzip, chunked"})
        check({ok + headers + "\r\n\r\nhi", State::mangled, ""});
    check({ok + "Content-Length: 3\r\n\r\nhi", State::need_more, ""});
    check({ok + "Content-Length: 4\r\n\r\n\0\r\n\xff"s, State::complete, "\0\r\n\xff"s});
}

TEST(HttpResponse, BodyInChunks) {
    for (const char *header :
         {"Transfer-Encoding: chunked", "transfer-encoding:chunked",
          "TRANSFER-ENCODING: \tChunked ", "Content-Length: 1\r\nTransfer-Encoding: chunked",
          "Transfer-Encoding: chunked\r\nContent-Length: 999"})
        check({ok + header + "\r\n\r\n2\r\nhi\r\n0\r\n\r\n", State::complete, "hi"});

    const std::pair<const char *, const char *> read[] = {
        {"0\r\n\r\n", ""},
        {"5\r\nfirst\r\nB\r\n second\r\n..\r\n0\r\n\r\n", "first second\r\n.."},
        {"00a\r\n0123456789\r\n0\r\n", "0123456789"}, // no final line end
        {"5;name=value\r\nfirst\r\n0;x\r\n\r\n", "first"},
        {"5 \t; a=b\r\nfirst\r\n1  \r\n!\r\n0 \r\n\r\n", "first!"},
        {"1\r\nx\r\n000\r\nTrailer: 1\r\n\r\n", "x"},
    };
    for (const auto &[chunks, body] : read)
        check({chunked + chunks, State::complete, body});
    for (const char *chunks :
         {"-1\r\nx", "+5\r\nfirst", " 5\r\nfirst", "5 5\r\nfirst", "0x5\r\nfirst", "\r\nx",
          "G\r\nx", ";x\r\nfirst", "FFFFFFFFFFFFFFFFF\r\nx", "FFFFFFFFFFFFFFFF\r\nx",
          "4000001\r\nx", "1\r\nx\r\n4000000\r\n", "2\r\nhi0\r\n\r\n", "2\r\nhi\n0\r\n\r\n",
          "2\r\nhi\rx0\r\n\r\n", "2\r\nhi!\r\n0\r\n\r\n"})
        check({chunked + chunks, State::mangled, ""});
    for (const char *chunks :
         {"", "5", "5\r", "5\r\nfirs", "5\r\nfirst\r", "5\r\nfirst\r\n", "5\r\nfirst\r\n0\r"})
        check({chunked + chunks, State::need_more, ""});
}

TEST(HttpResponse, Cookies) {
    const std::pair<std::string, CookieTable> rows[] = {
        {"Set-Cookie: sid=42; Path=/", {{"sid", "42"}}},
        {"set-COOKIE: sid=42;", {{"sid", "42"}}},
        {"Set-Cookie: a=1=2; x", {{"a", "1=2"}}},
        {"Set-Cookie: a=; x", {{"a", ""}}},
        {"Set-Cookie: =1; x", {{"", "1"}}},
        {"Set-Cookie: a=1; x\r\nSet-Cookie: b=2; x\r\nSet-Cookie: a=3; x",
         {{"a", "3"}, {"b", "2"}}},
        {"Set-Cookie: sid=42", {}},
        {"Set-Cookie: sid; x=42", {}},
        {"Set-Cookie:sid=42; x", {}},
        {"X-Set-Cookie: a=1; x", {}},
        {"Set-Cookie: a=1\n2; x", {}},
        {"Set-Cookie: a\x1b=1; x", {}},
    };
    for (const auto &[header, cookies] : rows)
        check({ok + header + "\r\n" + length_2 + "\r\nhi", State::complete, "hi", cookies});
}

TEST(HttpResponse, NothingBeyondTheLimitsIsHeld) {
    const auto head_of = [](std::size_t bytes) { // the blank line not counted
        const std::string start = ok + length_2 + "X: ";
        return start + std::string(bytes - start.size(), 'x') + "\r\n\r\nhi";
    };
    const std::string end = length_2 + "\r\nhi";
    const std::string extension(HttpLimits::chunk_line_bytes - 2, 'e');
    const std::string longest(HttpLimits::cookie_bytes - 1, 'v');
    CookieTable most;
    std::string setting;
    for (std::size_t i = 0; i < HttpLimits::cookies; ++i) {
        const std::string name = "c" + std::to_string(i);
        most[name] = "v";
        setting += "Set-Cookie: " + name + "=v; Path=/\r\n";
    }
    CookieTable replaced = most;
    replaced["c7"] = "new";
    const Response rows[] = {
        {head_of(HttpLimits::head_bytes), State::complete, "hi"},
        {head_of(HttpLimits::head_bytes + 1), State::mangled, "head over 64 KiB"},
        {ok + setting + end, State::complete, "hi", most},
        {ok + setting + "Set-Cookie: c7=new; x\r\n" + end, State::complete, "hi", replaced},
        {ok + setting + "Set-Cookie: d=v; x\r\n" + end, State::mangled, "", most},
        {ok + "Set-Cookie: n=" + longest + "; x\r\n" + end,
         State::complete,
         "hi",
         {{"n", longest}}},
        {ok + "Set-Cookie: nn=" + longest + "; x\r\n" + end, State::mangled, ""},
        {chunked + "2;" + extension + "\r\nhi\r\n0\r\n", State::complete, "hi"},
        {chunked + "2;e" + extension + "\r\nhi\r\n0\r\n", State::mangled, ""},
        // In time that grows with its length.
        {chunked + repeated("1\r\nx\r\n", 100'000) + "0\r\n\r\n", State::complete,
         std::string(100'000, 'x')},
    };
    for (const auto &row : rows)
        check(row);
}

TEST(HttpResponse, AMangledOneSaysWhy) {
    const Response rows[] = {
        {"HTTP/2 200 OK\r\n\r\n", State::mangled, "not HTTP/1.1"},
        {"HTTP/1.1 OK\r\n\r\n", State::mangled, "bad status"},
        {ok + "content-length: 2\r\n\r\nhi", State::mangled, "no length"},
        {ok + "Content-Length: x\r\n\r\nhi", State::mangled, "bad length"},
        {ok + "Content-Length: 67108865\r\n\r\nhi", State::mangled, "body over its limit"},
        {chunked + "x\r\n", State::mangled, "bad chunk size"},
        {chunked + "1\r\nxyz", State::mangled, "chunk longer than its size"},
        {ok + length_2 + "\r\nh", State::mangled, "cut short"},
    };
    for (const auto &row : rows)
        check(row);
}

TEST(HttpResponse, ClaimsCostNothingAndEndlessTextsLittle) {
    const std::string megabyte(1024 * 1024, '1');
    for (const std::string &start : {"HTTP/1.1 200 "s, chunked}) {
        Reader reader;
        reader.read(start);
        EXPECT_EQ(reader.read(megabyte), State::mangled);
        EXPECT_LE(reader.taken, HttpLimits::head_bytes + 2 * 16 * 1024);
    }
    Reader reader;
    EXPECT_EQ(reader.read(ok + "Content-Length: 67108864\r\n\r\n"), State::need_more);
    EXPECT_LE(reader.parser.space().size, 128u * 1024);
    reader.read(megabyte);
    EXPECT_LE(reader.parser.space().size, 2u * 1024 * 1024);
}

TEST(HttpResponse, ByOtherRules) {
    const HttpRules to_end = {
        .body_bytes = 4, .unstated_length = UnstatedLength::to_end_of_stream, .http_1_0 = true};
    const HttpRules no_body = {.unstated_length = UnstatedLength::no_body};
    const HttpRules any_case = {.length_in_any_case = true};
    const Response rows[] = {
        {ok + "\r\n1234", State::complete, "1234", {}, to_end},
        {ok + "\r\n", State::complete, "", {}, to_end},
        {ok + "\r\n12345", State::mangled, "", {}, to_end},
        {ok + length_2 + "\r\nhi", State::complete, "hi", {}, to_end},
        {ok + length_2 + "\r\nh", State::mangled, "", {}, to_end},
        {ok + "Content-Length: 5\r\n\r\n", State::mangled, "", {}, to_end},
        {ok, State::mangled, "", {}, to_end},
        {"HTTP/1.0 200 OK\r\n\r\nhi", State::complete, "hi", {}, to_end},
        {"HTTP/1.1 404 No\r\n\r\nhi", State::not_ok, "", {}, to_end},
        {"<a/>", State::complete, "<a/>", {}, to_end},
        {"<abc>", State::mangled, "", {}, to_end},
        {ok + "\r\nhi", State::complete, "", {}, no_body},
        {ok + "content-LENGTH: 2\r\n\r\nhi", State::complete, "hi", {}, any_case},
        {chunked + "1;2345\r\nx\r\n0\r\n", State::mangled, "", {}, {.body_bytes = 6}},
    };
    for (const auto &row : rows)
        check(row);
}

} // namespace
} // namespace kavro
