#pragma once

#include "contender.h"

#include <cstddef>

namespace bench {

/// The list of an answer, parsed in place, as records sorted by id. Throws when it is no XML.
std::vector<Desktop> read_with_pugixml(char *answer, std::size_t size);

} // namespace bench
