#include "request_report.h"

#include "error_codes.h"
#include "json_writer.h"
#include "kavro_broker_extras.h"

#include <array>

namespace kavro {

namespace {

/// A phase by its name; the ones that take time of their own have it reported.
struct PhaseRow {
    const char *name;
    bool timed;
};

/// By ConnectionPhase.
constexpr std::array<PhaseRow, ConnectionReport::phase_count> phase_rows = {{
    {"prepare", false},
    {"resolve", true},
    {"connect", true},
    {"proxy", true},
    {"handshake", true},
    {"ready", false},
    {"send", true},
    {"wait", true},
    {"receive", true},
    {"parse", true},
    {"answered", false},
}};

/// By PeerSpeech and by AnswerKind; null for what was not there.
constexpr std::array peer_speeches = {"", "tls", "http", "other"};
constexpr std::array answer_kinds = {"", "html", "xml", "other"};

template <class Names, class Value>
auto row_of(const Names &names, Value value) {
    return names[static_cast<std::size_t>(value)];
}

std::uint64_t in_microseconds(ConnectionReport::Clock::duration time) {
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(time);
    return static_cast<std::uint64_t>(whole.count());
}

void write_code(JsonWriter &json, std::uint64_t code, const char *name) {
    json.name("code").number(code);
    json.name("name").text(name);
}

void write_times(JsonWriter &json, const ConnectionReport &connection) {
    for (std::size_t phase = 0; phase < phase_rows.size(); ++phase) {
        if (!phase_rows[phase].timed)
            continue;
        json.name(phase_rows[phase].name);
        if (const auto &time = connection.times[phase])
            json.number(in_microseconds(*time));
        else
            json.null();
    }
}

void write_tls(JsonWriter &json, const ConnectionReport &connection) {
    if (connection.tls_version == nullptr)
        return json.null();
    json.object([&] {
        json.name("version").text(connection.tls_version);
        json.name("cipher").text(connection.cipher);
        json.name("verification").text(connection.verification);
    });
}

void write_proxy(JsonWriter &json, const ConnectionReport &connection) {
    if (!connection.proxy)
        return json.null();
    json.object([&] {
        json.name("kind").text(connection.proxy->kind);
        json.name("host").text(connection.proxy->host);
        json.name("port").text(connection.proxy->port);
        json.name("status").number(static_cast<std::uint64_t>(connection.proxy->status));
    });
}

void write_connection(JsonWriter &json, const ConnectionReport &connection) {
    json.name("host").text_or_null(connection.host);
    json.name("port").text_or_null(connection.port);
    json.name("reused").boolean(connection.reused);
    json.name("proxy");
    write_proxy(json, connection);
    json.name("tried").array(connection.tried,
                             [&](const std::string &address) { json.text(address); });
    json.name("address").text_or_null(connection.address);
    json.name("reached").text(row_of(phase_rows, connection.phase).name);
    json.name("times_us").object([&] { write_times(json, connection); });
    json.name("peer_speaks").text_or_null(row_of(peer_speeches, connection.traffic.peer_speech));
    json.name("tls");
    write_tls(json, connection);
    std::uint64_t depth = 0;
    json.name("certificates").array(connection.certificate_errors, [&](std::uint32_t error) {
        const std::uint32_t verdict = convert_certificate_verdict(error);
        json.object([&] {
            json.name("depth").number(depth++);
            write_code(json, verdict, certificate_verdict_name(verdict));
        });
    });
    json.name("error").text_or_null(connection.error);
    json.name("http_status");
    if (connection.http_status != 0)
        json.number(static_cast<std::uint64_t>(connection.http_status));
    else
        json.null();
    json.name("answer").text_or_null(row_of(answer_kinds, connection.answer));
    json.name("result_id").text_or_null(connection.result_id);
    json.name("bytes_sent").number(connection.traffic.sent);
    json.name("bytes_received").number(connection.traffic.received);
}

/// The phase in which the request failed: that of the last connection.
void write_failed_in(JsonWriter &json, const RequestReport &report) {
    if (report.result == KAVRO_BROKER_OK)
        return json.null();
    const auto phase =
        report.connections.empty() ? ConnectionPhase::prepare : report.connections.back()->phase;
    json.text(row_of(phase_rows, phase).name);
}

} // namespace

void RequestReport::begin() {
    *this = {};
    began = Clock::now();
}

void RequestReport::end(kavro_broker_result code) {
    result = code;
    took = Clock::now() - *began;
}

std::string to_json(const RequestReport &report) {
    JsonWriter json;
    json.object([&] {
        json.name("library").text(kavro_broker_get_version());
        json.name("result").object(
            [&] { write_code(json, report.result, kavro_broker_result_name(report.result)); });
        json.name("failed_in");
        write_failed_in(json, report);
        json.name("took_us").number(in_microseconds(report.took));
        json.name("hellos").number(report.hellos);
        json.name("second_port").boolean(report.second_port);
        json.name("connections").array(report.connections, [&](const auto &connection) {
            json.object([&] { write_connection(json, *connection); });
        });
    });
    return json.take();
}

} // namespace kavro
