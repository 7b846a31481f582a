#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace kavro_cli {

/// Has a command line parsed, its commands and options in any order; "help COMMAND" is "COMMAND
/// --help". What nobody expects is told in order, and never the value of what looks like a secret.
void parse_arguments(std::vector<std::string> arguments, CLI::App &app);

} // namespace kavro_cli
