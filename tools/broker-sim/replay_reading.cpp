#include "replay_reading.h"

#include "exchange_log.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <string>

namespace broker_sim {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;

/// Results of the library that a client can only have had from what went wrong on the way.
enum Result : unsigned {
    timed_out = 4,
    cancelled = 5,
    refused = 202,
    no_handshake = 203,
    mangled = 206,
    http_not_ok = 207,
};

/// An exchange with what only a recording knows of it.
struct Seen : recording::Exchange {
    std::string reached{};
    unsigned status = 503;
    bool given_up = false; ///< another try took its place
};

// From a log.

Seen seen_in_log(recording::Exchange exchange) {
    const char *const reached = !exchange.request.empty()    ? "wait"
                                : exchange.result == refused ? "connect"
                                                             : "handshake";
    return {std::move(exchange), reached};
}

// From a recording.

template <class T>
T at(const json &line, const char *pointer, T otherwise) {
    const json value = line.value(json::json_pointer(pointer), json());
    return value.is_null() ? otherwise : value.get<T>();
}

Seen seen_in_line(const json &line) {
    Seen seen{{.request = line.at("request"), .received = line.at("received")}};
    seen.waited = milliseconds(at(line, "/connection/times_us/wait", 0) / 1000);
    seen.result = at(line, "/result/code", 0u);
    seen.evidence = line.at("connection").dump();
    seen.reached = at(line, "/connection/reached", std::string("wait"));
    seen.status = at(line, "/connection/http_status", seen.status);
    seen.given_up = seen.received.empty() && !line.contains("result");
    return seen;
}

std::vector<Seen> read_lines(std::istream &file) {
    std::vector<Seen> all;
    recording::ExchangeLog log;
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) // a log may have been written on Windows
            line.pop_back();
        if (const json object = json::parse(line, nullptr, false);
            object.is_object() && object.contains("received"))
            all.push_back(seen_in_line(object));
        else
            log.add(line);
    }
    for (recording::Exchange &exchange : log.take())
        all.push_back(seen_in_log(std::move(exchange)));
    std::erase_if(all, &Seen::given_up);
    return all;
}

// What the broker's side has done.

struct Verdict {
    std::string_view told; ///< by a recording or a log
    void (*spoil)(Tls &);
};

/// The first that was told of a connection counts.
constexpr Verdict verdicts[] = {
    {"wants a client certificate", [](Tls &tls) { tls.demand_client_certificate = true; }},
    {"certificate required", [](Tls &tls) { tls.demand_client_certificate = true; }},
    {"CERTIFICATE_EXPIRED\"", [](Tls &tls) { tls.expired = true; }},
    {"CERTIFICATE_NOT_YET_VALID", [](Tls &tls) { tls.expired = true; }},
    {"error[0]=9", [](Tls &tls) { tls.expired = true; }},
    {"HOST_NAME_MISMATCH",
     [](Tls &tls) { tls.names = {"another.test"}, tls.automatic_names = false; }},
    {"hn=FALSE", [](Tls &tls) { tls.names = {"another.test"}, tls.automatic_names = false; }},
    {"KEY_TOO_SHORT", [](Tls &tls) { tls.key = "rsa-768"; }},
    {"kl=FALSE", [](Tls &tls) { tls.key = "rsa-768"; }},
    {"CERTIFICATE_SELF_SIGNED\"", [](Tls &tls) { tls.issuer = Issuer::self; }},
    {"sscl=TRUE", [](Tls &tls) { tls.issuer = Issuer::self; }},
    {"FAILED_BUT_WARNABLE", [](Tls &tls) { tls.issuer = Issuer::stranger; }},
};

void spoil(Tls &tls, const Seen &seen) {
    const auto *verdict = std::ranges::find_if(verdicts, [&](const Verdict &candidate) {
        return seen.evidence.find(candidate.told) != seen.evidence.npos;
    });
    if (verdict != std::end(verdicts))
        verdict->spoil(tls);
    if (seen.result == no_handshake)
        tls.max_version = tls.demand_client_certificate ? "1.2" : "1.1";
}

Ending ending_of(const Seen &seen) {
    if (seen.result == timed_out || seen.result == cancelled)
        return Ending::stall;
    if (seen.evidence.find("End of file") != seen.evidence.npos)
        return Ending::close;
    return seen.evidence.find("truncated") != seen.evidence.npos ? Ending::fin : Ending::reset;
}

/// Control characters are visible in what was logged.
std::string as_sent(std::string xml) {
    static constexpr std::pair<std::string_view, std::string_view> characters[] = {
        {"\\x09", "&#9;"}, {"\\x0A", "&#10;"}, {"\\x0D", "&#13;"}};
    for (const auto &[shown, reference] : characters)
        for (std::size_t at = xml.find(shown); at != xml.npos; at = xml.find(shown, at))
            xml.replace(at, shown.size(), reference);
    return xml;
}

RecordedExchange exchange_of(const Seen &seen) {
    RecordedExchange exchange{.request = seen.request, .body = as_sent(seen.received)};
    exchange.fault.delay = seen.waited.value_or(milliseconds(0));
    if (!seen.received.empty())
        return exchange;
    if (seen.result == http_not_ok)
        exchange.status = seen.status;
    else if (seen.result == mangled)
        exchange.body = seen.evidence.find("\"html\"") != seen.evidence.npos ? "<html>" : "no XML";
    else
        exchange.fault.ending = ending_of(seen);
    if (exchange.fault.ending == Ending::stall)
        exchange.fault.delay = milliseconds(0);
    return exchange;
}

/// A connection that came to nothing. Where its certificate was to blame, it is made all the same.
void add_connection(Scenario &scenario, const Seen &seen) {
    static constexpr Result of_tls[] = {no_handshake, Result(300), Result(301)};
    if (std::ranges::find(of_tls, seen.result) != std::end(of_tls))
        return;
    const bool first = scenario.replay->exchanges.empty();
    Fault fault{.match = {.server = std::string(server_name::broker)},
                .stage = Stage::handshake,
                .ending = ending_of(seen)};
    if (seen.reached == "connect" && first) {
        fault.stage = Stage::accept;
        return scenario.faults.push_back(fault);
    }
    scenario.replay->exchanges.push_back({.fault = fault});
}

void add(Scenario &scenario, const Seen &seen) {
    spoil(scenario.tls, seen);
    if (seen.request.empty())
        return add_connection(scenario, seen);
    if (seen.request == "session-provision")
        scenario.provisioning.emplace();
    scenario.replay->exchanges.push_back(exchange_of(seen));
}

} // namespace

Scenario read_replay(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw ScenarioError(path.string() + ": cannot be read");
    std::vector<Seen> all;
    try {
        all = read_lines(file);
    } catch (const json::exception &error) {
        throw ScenarioError(path.string() + ": is no recording: " + error.what());
    }
    if (all.empty())
        throw ScenarioError(path.string() +
                            ": holds nothing of a conversation between a client and a broker");
    Scenario scenario{.replay = Replay{}};
    for (const Seen &seen : all)
        add(scenario, seen);
    return scenario;
}

} // namespace broker_sim
