#pragma once

#include "console.h"
#include "interruption.h"

#include <chrono>
#include <iosfwd>
#include <string>

namespace kavro_cli {

/// What a command has to do with besides the broker.
struct Surroundings {
    std::ostream &out; ///< results, and nothing else
    std::ostream &err; ///< warnings, failures and the spinner
    Console *console;  ///< null when there is nobody to ask
    Interruption &interruption;
    bool spinner = false;
    bool colour = false;
    std::string login_name = {}; ///< offered as the user name

    /// Between two questions for a desktop that is being prepared.
    std::chrono::milliseconds retry_pause = std::chrono::seconds(3);
};

} // namespace kavro_cli
