#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kavro {

enum eKAVRO_BROKER_DESKTOP_CMD : std::uint32_t {
    DESKTOP_CMD_OS_RESTART = 0,
    DESKTOP_CMD_POWER_DOWN = 1,
    DESKTOP_CMD_POWER_UP = 2,
    DESKTOP_CMD_SLEEP = 3,
    DESKTOP_CMD_RESUME = 4
};

/// The broker's word for each command, by its value.
inline constexpr std::array<std::string_view, 5> desktop_command_names = {
    "CMD_OS_RESTART", "CMD_PWR_DOWN", "CMD_PWR_UP", "CMD_PWR_SLEEP", "CMD_PWR_RESUME"};

} // namespace kavro
