#pragma once

#include "command.h"

#include <string>
#include <vector>

namespace kavro_cli {

/// What the words of a command line ask for.
struct CommandLine {
    CommandLine();

    void parse(std::vector<std::string> words);

    /// With the words that stand for the settings of the options, all of which must be right.
    void parse_completed(std::vector<std::string> words);

    /// What holds: what was typed, above the environment, above the profile. Throws a Failure when
    /// the profile is not to be had, or has something wrong.
    Settings settings(const Surroundings &surroundings) const;

    /// Of the command.
    const CLI::App &page() const { return *app.get_subcommands().front(); }

    CLI::App app;
    Options options;
    const Command *command = nullptr;

private:
    bool is_option(const std::string &name) const;
};

} // namespace kavro_cli
