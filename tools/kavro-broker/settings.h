#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace kavro_cli {

/// What an option is set to, and by whom.
struct Setting {
    std::string name; ///< of the option, without its dashes
    std::vector<std::string> values;
    std::string source; ///< "command line", "environment" or the path of a file
};
using Settings = std::vector<Setting>;

/// Tells in the help of a command which variables stand for its options.
void show_variables(CLI::App &page);

/// The options that were given on the command line from which a page was filled.
Settings given_on(const CLI::App &page);

/// Those that variables of the environment give.
Settings given_by_environment();

/// Both, without what the higher one gives already, or what cannot go together with that.
Settings above(const Settings &higher, const Settings &lower, const CLI::App &page);

/// The values of an option; none when it is not set.
std::vector<std::string> values_of(const Settings &settings, const std::string &name);

/// As a command line has those of other sources, as far as the command has such options.
std::vector<std::string> words_for(const Settings &settings, const CLI::App &page);

/// A value without what may be secret in it.
std::string shown_value(const std::string &name, const std::string &value);

} // namespace kavro_cli
