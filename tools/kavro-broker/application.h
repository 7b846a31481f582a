#pragma once

#include "surroundings.h"

#include <string>
#include <vector>

namespace kavro_cli {

/// The whole program but for what the operating system hands it. Returns the exit status.
int run_application(std::vector<std::string> arguments, const Surroundings &surroundings);

} // namespace kavro_cli
