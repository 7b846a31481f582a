#pragma once

#include "options.h"
#include "surroundings.h"

#include <chrono>
#include <cstdint>

namespace kavro_cli {

/// What kind of broker or host answers at the address, a `KAVRO_BROKER_TYPE_...` value; 0 when none
/// does that is known, or not in time.
uint32_t find_kind(const Options &options, const Surroundings &surroundings,
                   std::chrono::milliseconds time);

} // namespace kavro_cli
