// The parts of one exchange, each on its own: text in, text out.
#include "messages.h"

#include "kavro/src/hello.h"
#include "kavro/src/resource_list.h"
#include "transport/http_framing.h"
#include "utils/src/broker_utils.h"
#include "utils/src/client_identity.h"
#include "xml/xml_message_log.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>

using namespace kavro;

namespace {

constexpr std::size_t desktops = 1000;

void count_bytes(benchmark::State &state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void parse_address(benchmark::State &state) {
    for (auto _ : state) {
        std::string host;
        std::string port;
        std::string protocol;
        benchmark::DoNotOptimize(parse_uri("https://broker.example:4443", host, port, protocol));
    }
}
BENCHMARK(parse_address);

void build_request(benchmark::State &state) {
    const Dialect dialect;
    for (auto _ : state) {
        const SecureText body = request_text(hello_message, dialect, dialect, {}, {});
        benchmark::DoNotOptimize(http_post_request("/", "broker.example", "id", {}, body));
    }
}
BENCHMARK(build_request);

/// Hands a response over in pieces of the size of a TLS record.
void receive(benchmark::State &state, const std::string &response) {
    for (auto _ : state) {
        CookieTable cookies;
        HttpResponseParser parser(cookies);
        auto result = HttpResponseParser::State::need_more;
        for (std::string_view rest = response; !rest.empty();) {
            const auto space = parser.space();
            const auto bytes = rest.copy(space.data, space.size);
            result = parser.received(bytes);
            rest.remove_prefix(bytes);
        }
        if (result != HttpResponseParser::State::complete)
            state.SkipWithError("not a complete response");
    }
    count_bytes(state, response.size());
}

void parse_head(benchmark::State &state) {
    receive(state, bench::http_response(""));
}
BENCHMARK(parse_head);

void decode_chunks(benchmark::State &state) {
    const std::string body = bench::list_answer(desktops);
    std::string response = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    constexpr std::size_t chunk = 4096;
    for (std::size_t at = 0; at < body.size(); at += chunk) {
        const std::string piece = body.substr(at, chunk);
        response += fmt::format("{:x}\r\n{}\r\n", piece.size(), piece);
    }
    receive(state, response + "0\r\n\r\n");
}
BENCHMARK(decode_chunks);

std::shared_ptr<const XmlDocument> parsed(const std::string &text) {
    std::string error;
    return XmlDocument::parse(SecureText(text), error);
}

void read_xml(benchmark::State &state) {
    const std::string text = bench::list_answer(desktops);
    for (auto _ : state)
        benchmark::DoNotOptimize(parsed(text));
    count_bytes(state, text.size());
}
BENCHMARK(read_xml);

void read_records(benchmark::State &state) {
    const std::string text = bench::list_answer(desktops);
    const PostResult post{POST_RESULT_SUCCESS, {}, parsed(text)};
    Dialect dialect;
    for (auto _ : state) {
        DesktopListHandle list;
        read_answer(resource_list_message, post, dialect, list);
        if (list == nullptr || list->size() != desktops)
            state.SkipWithError("not all desktops");
    }
    count_bytes(state, text.size());
}
BENCHMARK(read_records);

void write_message_log(benchmark::State &state) {
    const std::string text = bench::list_answer(desktops);
    const auto document = parsed(text);
    for (auto _ : state)
        benchmark::DoNotOptimize(masked_message(document->root(), MessageDirection::received));
    count_bytes(state, text.size());
}
BENCHMARK(write_message_log);

} // namespace

BENCHMARK_MAIN();
