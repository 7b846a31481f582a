#pragma once

#include "conversation/conversation.h"
#include "support/requests.h"

#include <chrono>

namespace conversation {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Slow machines and sanitizers stretch everything but the deadline itself.
constexpr auto margin = 2s;

/// A handle whose requests have this long instead of half a minute.
inline kavro_broker_handle handle_with_deadline(std::chrono::milliseconds deadline) {
    const Log log; // no handle is made without one
    return test_support::new_handle(deadline).release();
}

inline broker_sim::Scenario without_authentication() {
    auto scenario = broker_sim::Scenario::demo();
    scenario.authentication.clear();
    return scenario;
}

} // namespace conversation
