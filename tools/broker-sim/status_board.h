#pragma once
#include "broker_state.h"
#include "http_message.h"
#include "rule_list.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace broker_sim {

/// What somebody who watches gets to see: the latest requests, and a picture of the rest. A request
/// is kept as masked_request() shows it, so that no secret is.
class StatusBoard {
public:
    struct Server {
        std::string_view name;
        std::uint16_t port;
        unsigned connections;
    };

    explicit StatusBoard(std::string scenario_name) : scenario_name_(std::move(scenario_name)) {}

    void connected(const Event &event);
    void ended(const Event &event);

    /// Returns the number of the entry. The event's request is empty when a fault strikes before
    /// there is one.
    std::uint64_t add(const Event &event, std::string result, const Fault &fault,
                      std::string xml = {});
    /// The answer is on its way; until then, the entry has no duration.
    void sent(std::uint64_t number);

    std::string json(const BrokerState &state, const std::vector<Server> &servers) const;

private:
    struct Connection {
        std::string_view server;
        unsigned number;
        std::chrono::system_clock::time_point since;
        unsigned requests = 0;
        bool open = true;
    };

    Connection *find(const Event &event);

    struct Entry {
        std::chrono::system_clock::time_point time; ///< of the day, for people
        std::chrono::steady_clock::time_point begun;
        std::optional<std::chrono::steady_clock::duration> duration;
        std::string_view server;
        unsigned connection;
        std::string request;
        std::string result;
        Fault fault;
        std::string xml;
    };

    std::string scenario_name_;
    std::deque<Connection> connections_; ///< the latest, oldest first
    std::uint64_t connected_ = 0;        ///< in all
    std::deque<Entry> entries_;          ///< the latest, oldest first
    std::uint64_t added_ = 0;            ///< the number of the last one
};

/// What a client reads as the result; empty when nothing of the answer is sent.
std::string result_of(const HttpAnswer &answer, const Fault &fault);

} // namespace broker_sim
