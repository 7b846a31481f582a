#pragma once

#include "kavro_broker.h"
#include "transport/connection_report.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kavro {

/// The course of one request, for a bug report. Collected on the way; put into words only on
/// demand.
struct RequestReport {
    using Clock = ConnectionReport::Clock;

    void begin();
    void end(kavro_broker_result code);
    /// Nothing was asked for yet.
    bool empty() const { return !began; }

    std::vector<std::shared_ptr<ConnectionReport>> connections; ///< to the broker, in order
    unsigned hellos = 0;
    bool second_port = false;                                            ///< fell back to it
    kavro_broker_result result = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE; ///< of an exception
    std::optional<Clock::time_point> began;
    Clock::duration took{};
};

std::string to_json(const RequestReport &report);

} // namespace kavro
