#include "application.h"
#include "signals.h"
#include "terminal.h"

#include <cstdlib>
#include <iostream>

namespace {

std::string environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// The first of these variables that is set to something.
std::string first_of(std::initializer_list<const char *> names) {
    std::string value;
    for (auto name = names.begin(); name != names.end() && value.empty(); ++name)
        value = environment(*name);
    return value;
}

/// This program's folder in one of the user's: the one that a variable names, or else the one that
/// is usual below the user's own.
std::string folder(std::initializer_list<const char *> variables, const char *usual) {
    if (const auto named = first_of(variables); !named.empty())
        return named + "/kavro-broker";
    const auto home = environment("HOME");
    return home.empty() ? home : home + usual + "/kavro-broker";
}

} // namespace

int main(int argc, char **argv) {
    using namespace kavro_cli;
    Interruption interruption;
    const SignalWatch signals(interruption);
    const auto terminal = open_terminal(interruption);
    constexpr int input = 0, output = 1, errors = 2;
    const bool colour = environment("NO_COLOR").empty();
    const bool spinner = takes_control_sequences(errors);
    const Surroundings surroundings{
        .out = std::cout,
        .err = std::cerr,
        .console = terminal.get(),
        .interruption = interruption,
        .spinner = spinner,
        .out_in_colour = colour && takes_control_sequences(output),
        .err_in_colour = colour && spinner,
        .script = is_terminal(input) ? std::nullopt : std::optional(input),
        .login_name = first_of({"USER", "USERNAME"}),
        .cache_folder = folder({"XDG_CACHE_HOME", "LOCALAPPDATA"}, "/.cache"),
        .config_folder = folder({"XDG_CONFIG_HOME", "APPDATA"}, "/.config"),
        .state_folder = folder({"XDG_STATE_HOME", "LOCALAPPDATA"}, "/.local/state"),
        .edits_lines = true};
    return run_application({argv + 1, argv + argc}, surroundings);
}
