#pragma once

#include "kavro/src/desktop_list.h"
#include "kavro/src/results.h"

#include <string>
#include <vector>

namespace kavro {

/// A record as lines "name = value". What is as in a fresh record is left out, so that an empty
/// list says that nothing was read.
using RecordLines = std::vector<std::string>;

RecordLines describe(const HelloResult &hello);
RecordLines describe(const cAUTH_RESULT &auth);
RecordLines describe(const cDESKTOP_LIST_RESULT &desktop);
RecordLines describe(const cDESKTOP_CONNECTION_RESULT &connection);

} // namespace kavro
