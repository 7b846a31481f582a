#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace manual {

/// The page of a program for man(1), made of what its --help tells.
std::string manual_page(const CLI::App &app);

/// Scripts by which shells complete the program's commands, options and their values.
std::string bash_completion(const CLI::App &app);
std::string zsh_completion(const CLI::App &app);
std::string fish_completion(const CLI::App &app);

/// Lets a program print all of these, by options that its help does not show.
void add_manual_options(CLI::App &app);

// How they see a program.

using Options = std::vector<const CLI::Option *>;
using Commands = std::vector<const CLI::App *>;

/// What the help shows.
Options shown_options(const CLI::App &app);
Commands commands_of(const CLI::App &app);

/// What an option takes, as "FILE" or "{auto,always,never}"; empty for one that takes nothing.
std::string value_of(const CLI::Option &option);

} // namespace manual
