#pragma once

#include "options.h"
#include "session.h"
#include "surroundings.h"

#include <CLI/CLI.hpp>

#include <array>

namespace kavro_cli {

/// One of the things that this program does: how it is asked for, and what it does, with a session
/// at a broker or without any.
struct Command {
    const char *name;
    const char *summary;
    const char *description = ""; ///< of the help page, with examples
    bool logs_in = false;
    bool logs_out = false; ///< after success; after a failure every command is logged out
    void (*add_options)(CLI::App &app, Options &options) = [](CLI::App &, Options &) {};
    void (*run)(Session &session, const Options &options,
                const Surroundings &surroundings) = nullptr;
    void (*run_alone)(const Options &options, const Surroundings &surroundings) = nullptr;
    bool needs_broker = true; ///< its address or a code for it, and a way to it
    bool only_looks = false;  ///< at a broker, and never asks whether to trust it
};

extern const Command list_command, connect_command, power_command, certificates_command,
    logout_command, probe_command, diagnose_command, shell_command, known_brokers_command,
    config_command;

inline constexpr std::array<const Command *, 10> commands{
    &list_command,         &connect_command,       &power_command,  &shell_command,
    &certificates_command, &known_brokers_command, &config_command, &logout_command,
    &probe_command,        &diagnose_command};

} // namespace kavro_cli
