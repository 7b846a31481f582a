#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace kavro_cli {

/// Has a command line parsed, its commands and options in any order; "help COMMAND" is "COMMAND
/// --help". What nobody expects is told in order, and never the value of what looks like a secret.
/// Where there are profiles, @NAME is --profile NAME.
void parse_arguments(std::vector<std::string> arguments, CLI::App &app);

/// Whether somebody who typed an option like this may have put a secret behind it.
bool looks_secret(const std::string &option);

} // namespace kavro_cli
