#pragma once

#include "console.h"
#include "interruption.h"
#include "spinner.h"

#include <chrono>
#include <optional>
#include <ostream>
#include <string>

namespace kavro_cli {

class Recording;

/// What a command has to do with besides the broker.
struct Surroundings {
    std::ostream &out; ///< results, and nothing else
    std::ostream &err; ///< warnings, failures and the spinner
    Console *console;  ///< null when there is nobody to ask
    Interruption &interruption;
    bool spinner = false;
    bool out_in_colour = false;
    bool err_in_colour = false;
    std::optional<int> script = {}; ///< has the commands of a shell, when nobody types them
    std::string login_name = {};    ///< offered as the user name
    std::string cache_folder = {};  ///< for the table of registration codes; empty for none
    std::string config_folder = {}; ///< for profiles and known brokers; empty for none
    std::string state_folder = {};  ///< for what was typed into shells; empty for none
    bool edits_lines = false;       ///< on the console
    Recording *recording = nullptr; ///< of what passes, if there is one

    /// Between two questions for a desktop that is being prepared.
    std::chrono::milliseconds retry_pause = std::chrono::seconds(3);
};

/// Calls into the library with the user told that it takes a while. Throws instead when the user
/// has interrupted before.
template <class Call>
auto wait_for(const std::string &label, const Surroundings &surroundings, Call call) {
    surroundings.interruption.check();
    std::optional<Spinner> spinner;
    if (surroundings.spinner)
        spinner.emplace(label,
                        [&](std::string_view text) { surroundings.err << text << std::flush; });
    return call();
}

} // namespace kavro_cli
