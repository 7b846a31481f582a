#pragma once

#include <kavro_broker.hpp>

#include <array>
#include <string>
#include <vector>

namespace kavro_cli {

using Variables = std::vector<kavro_broker::variable>;
using Desktop = kavro_broker::desktop;
using Connection = kavro_broker::desktop_connection;

/// What a broker says it is, and where it was found.
struct BrokerInfo : kavro_broker::broker_info {
    std::string address;
};

/// A power operation as it is typed and shown.
struct Operation {
    uint32_t value;
    const char *word;
};

inline constexpr std::array<Operation, 5> operations{{
    {KAVRO_BROKER_OPERATION_POWER_UP, "up"},
    {KAVRO_BROKER_OPERATION_POWER_DOWN, "down"},
    {KAVRO_BROKER_OPERATION_OS_RESTART, "restart"},
    {KAVRO_BROKER_OPERATION_SLEEP, "sleep"},
    {KAVRO_BROKER_OPERATION_RESUME, "resume"},
}};

} // namespace kavro_cli
