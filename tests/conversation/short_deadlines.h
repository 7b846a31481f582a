#pragma once

#include "broker_client_impl.h"
#include "conversation/conversation.h"
#include "kavro/src/kavro_broker_client.h"

#include <chrono>
#include <thread>

namespace conversation {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Slow machines and sanitizers stretch everything but the deadline itself.
constexpr auto margin = 2s;

/// A handle whose requests have this long instead of half a minute.
inline kavro_broker_handle handle_with_deadline(std::chrono::milliseconds deadline) {
    Log::start();
    auto handle = std::make_unique<broker_client_impl>();
    handle->create(
        KAVRO_BROKER_TYPE_KAVRO,
        kavro::BrokerClientHandle(new kavro::cKAVRO_BROKER_CLIENT({deadline, deadline})));
    return handle.release();
}

inline std::chrono::milliseconds since(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

inline broker_sim::Scenario without_authentication() {
    auto scenario = broker_sim::Scenario::demo();
    scenario.authentication.clear();
    return scenario;
}

/// The ways in which a broker can keep its client waiting, by where in a request.
struct Silence {
    const char *where;
    broker_sim::Fault fault;
};

inline std::vector<Silence> silences() {
    using broker_sim::Ending;
    using broker_sim::Stage;
    return {
        {"before the handshake", {.stage = Stage::handshake, .ending = Ending::stall}},
        {"before the answer to the greeting",
         {.match = {.request = "hello"}, .ending = Ending::stall}},
        {"before the answer", {.match = {.request = "get-resource-list"}, .ending = Ending::stall}},
        {"in the head",
         {.match = {.request = "get-resource-list"}, .ending = Ending::stall, .at_byte = 20}},
        {"in the body",
         {.match = {.request = "get-resource-list"}, .ending = Ending::stall, .at_byte = 700}},
        {"between drops",
         {.match = {.request = "get-resource-list"}, .drip_bytes = 1, .drip_every = 20ms}},
    };
}

} // namespace conversation
