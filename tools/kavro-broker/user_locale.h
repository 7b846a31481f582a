#pragma once

#include <string>

namespace kavro_cli {

/// The user's, as "de_DE"; "en_US" when the user has none.
std::string user_locale();

} // namespace kavro_cli
