#pragma once

#include "options.h"
#include "surroundings.h"

namespace kavro_cli {

/// Has the library bring its table of registration codes up to date, in the folder that was named
/// or in the user's own.
void update_registration_table(const Options &options, const Surroundings &surroundings);

} // namespace kavro_cli
