#pragma once
#include "faults.h"

#include <string_view>
#include <vector>

namespace broker_sim {

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
    Rule find(std::string_view request, unsigned connection, Predicate concerns) {
        Rule found;
        for (auto &[rule, seen] : entries_) {
            const Match &match = rule.match;
            const bool matches = concerns(rule) &&
                                 (match.request.empty() || match.request == request) &&
                                 (match.connection == 0 || match.connection == connection);
            if (matches && (++seen == match.nth || match.nth == 0))
                found = rule;
        }
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
