#include "status_board.h"

#include "fault_reading.h"

#include <algorithm>

namespace broker_sim {
namespace {

using nlohmann::json;

constexpr std::size_t most_rows = 500; ///< of each list, because a browser draws them every second
constexpr std::size_t most_name_bytes = 80;
constexpr std::size_t shown_id_digits = 6; ///< too few to take over a session with

std::int64_t milliseconds(std::chrono::system_clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

std::string_view phase_name(const BrokerState &state, const Session &session) {
    switch (session.phase) {
    case Session::Phase::password_expired:
        return "password expired";
    case Session::Phase::blocked:
        return "blocked";
    case Session::Phase::authenticated:
        return "authenticated";
    case Session::Phase::steps:
        break;
    }
    return state.scenario.authentication.empty() ? "no authentication" : "authenticating";
}

/// The newest first.
json sessions_of(const BrokerState &state) {
    std::vector<const std::pair<const std::string, Session> *> newest;
    for (const auto &session : state.sessions)
        newest.push_back(&session);
    const std::size_t shown = std::min(newest.size(), most_rows);
    std::ranges::partial_sort(newest, newest.begin() + static_cast<std::ptrdiff_t>(shown),
                              std::ranges::greater{},
                              [](const auto *session) { return session->second.begun; });
    newest.resize(shown);

    json rows = json::array();
    for (const auto *const entry : newest) {
        const auto &[id, session] = *entry;
        rows.push_back({{"id", id.substr(0, shown_id_digits)},
                        {"user", session.user ? session.user->username : ""},
                        {"state", phase_name(state, session)},
                        {"since", milliseconds(session.begun)}});
    }
    return rows;
}

json desktops_of(const BrokerState &state) {
    json rows = json::array();
    for (const DesktopState &desktop : state.desktops) {
        if (rows.size() == most_rows)
            break;
        rows.push_back({{"name", desktop.desktop->name},
                        {"id", desktop.desktop->id},
                        {"state", desktop.power}});
    }
    return rows;
}

json proxied_of(const BrokerState &state) {
    json rows = json::array();
    for (const auto &[who, count] : state.proxy.counts) {
        if (rows.size() == most_rows)
            break;
        rows.push_back({{"user", who.first},
                        {"target", who.second},
                        {"asked", count.asked},
                        {"let_through", count.let_through}});
    }
    return rows;
}

} // namespace

void StatusBoard::connected(const Event &event) {
    if (connections_.size() == most_rows)
        connections_.pop_front();
    connections_.push_back({event.server, event.connection, std::chrono::system_clock::now()});
    ++connected_;
}

void StatusBoard::ended(const Event &event) {
    if (Connection *const connection = find(event))
        connection->open = false;
}

StatusBoard::Connection *StatusBoard::find(const Event &event) {
    const auto found = std::ranges::find_if(connections_, [&](const Connection &connection) {
        return connection.server == event.server && connection.number == event.connection;
    });
    return found == connections_.end() ? nullptr : &*found;
}

std::uint64_t StatusBoard::add(const Event &event, std::string result, const Fault &fault,
                               std::string xml) {
    if (entries_.size() == most_rows)
        entries_.pop_front();
    entries_.push_back({.time = std::chrono::system_clock::now(),
                        .begun = std::chrono::steady_clock::now(),
                        .duration = std::nullopt,
                        .server = event.server,
                        .connection = event.connection,
                        .request = std::string(event.request.substr(0, most_name_bytes)),
                        .result = std::move(result),
                        .fault = fault,
                        .xml = std::move(xml)});
    Connection *const connection = find(event);
    if (connection && fault.stage == Stage::response)
        ++connection->requests;
    return ++added_;
}

void StatusBoard::sent(std::uint64_t number) {
    const std::uint64_t forgotten = added_ - entries_.size();
    if (number > forgotten) {
        Entry &entry = entries_[number - forgotten - 1];
        entry.duration = std::chrono::steady_clock::now() - entry.begun;
    }
}

std::string StatusBoard::json(const BrokerState &state, const std::vector<Server> &servers) const {
    using FractionalMilliseconds = std::chrono::duration<double, std::milli>;
    const BrokerInfo &broker = state.scenario.broker;
    nlohmann::json status = {
        {"now", milliseconds(std::chrono::system_clock::now())},
        {"scenario", scenario_name_},
        {"product", broker.product_name + " " + broker.product_version},
        {"address", state.scenario.address},
        {"servers", json::array()},
        {"sessions", sessions_of(state)},
        {"desktops", desktops_of(state)},
        {"proxied", proxied_of(state)},
        {"connections", json::array()},
        {"requests", json::array()},
        {"totals",
         {{"sessions", state.sessions.size()},
          {"desktops", state.desktops.size()},
          {"proxied", state.proxy.counts.size()},
          {"connections", connected_},
          {"requests", added_}}},
    };
    for (const auto &[name, port, connections] : servers)
        status["servers"].push_back({{"name", name}, {"port", port}, {"connections", connections}});
    for (const Connection &connection : connections_)
        status["connections"].push_back({{"server", connection.server},
                                         {"connection", connection.number},
                                         {"since", milliseconds(connection.since)},
                                         {"requests", connection.requests},
                                         {"open", connection.open}});
    std::uint64_t number = added_ - entries_.size();
    for (const Entry &entry : entries_) {
        nlohmann::json row = {{"number", ++number},       {"time", milliseconds(entry.time)},
                              {"server", entry.server},   {"connection", entry.connection},
                              {"request", entry.request}, {"result", entry.result},
                              {"duration_ms", nullptr},   {"fault", parts_of(entry.fault)},
                              {"xml", entry.xml}};
        if (entry.duration)
            row["duration_ms"] = FractionalMilliseconds(*entry.duration).count();
        status["requests"].push_back(std::move(row));
    }
    return status.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string result_of(const HttpAnswer &answer, const Fault &fault) {
    if (fault.ending != Ending::none && fault.at_byte == 0)
        return "";
    static constexpr std::string_view tag = "<result-id>";
    const std::string_view text = answer.raw ? *answer.raw : answer.body;
    const std::size_t at = text.find(tag);
    if (at == text.npos)
        return answer.raw ? "raw" : "HTTP " + std::to_string(answer.status);
    const std::string_view rest = text.substr(at + tag.size(), most_name_bytes);
    return std::string(rest.substr(0, rest.find('<')));
}

} // namespace broker_sim
