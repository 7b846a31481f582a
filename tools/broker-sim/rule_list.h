#pragma once
#include "faults.h"

#include <string_view>
#include <vector>

namespace broker_sim {

/// What rules are about: a request, or a connection that has not come to any yet.
struct Event {
    std::string_view server;
    unsigned connection = 0;
    std::string_view request{};

    bool is_of(const Match &match) const {
        return (match.server.empty() || match.server == server) &&
               (match.connection == 0 || match.connection == connection) &&
               (match.request.empty() || match.request == request);
    }
};

/// Faults or overrides, each counting the events that it matches.
template <class Rule>
class RuleList {
public:
    explicit RuleList(const std::vector<Rule> &rules) {
        for (const Rule &rule : rules)
            add(rule);
    }

    void add(Rule rule) { entries_.push_back({std::move(rule)}); }
    void clear() { entries_.clear(); }

    /// Counts the event in every rule that `concerns` it. The newest rule that applies to it wins.
    template <class Predicate>
    Rule find(const Event &event, Predicate concerns) {
        Rule found;
        for (auto &[rule, seen] : entries_)
            if (concerns(rule) && event.is_of(rule.match) &&
                (++seen == rule.match.nth || rule.match.nth == 0))
                found = rule;
        return found;
    }

private:
    struct Entry {
        Rule rule;
        unsigned seen = 0;
    };
    std::vector<Entry> entries_;
};

} // namespace broker_sim
