#pragma once

#include "settings.h"

#include <functional>
#include <string>

namespace kavro_cli {

/// The settings of a profile of `folder`/config.toml, where each section is one; an empty name is
/// that of the one that the file names at its top, if it does. `is_option` knows what may be set.
/// Throws a Failure for a file that is not fit to be believed, for a profile that is not there, and
/// for what is no setting.
Settings settings_of_profile(const std::string &folder, const std::string &name,
                             const std::function<bool(const std::string &)> &is_option);

} // namespace kavro_cli
