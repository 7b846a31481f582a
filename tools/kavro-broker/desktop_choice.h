#pragma once

#include "records.h"

#include <string>
#include <vector>

namespace kavro_cli {

/// The desktop that the user means: the one with exactly that id, else the one with exactly that
/// name, else the one whose name begins like that in any letter case. A text that means none or
/// several throws a failure that lists the candidates.
const Desktop &find_desktop(const std::vector<Desktop> &desktops, const std::string &meant);

/// How a desktop is called in sentences.
std::string title(const Desktop &desktop);

} // namespace kavro_cli
