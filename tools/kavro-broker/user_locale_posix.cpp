#include "user_locale.h"

#include <cstdlib>

namespace kavro_cli {

/// POSIX.1 section 8.2: the first variable that is not empty decides, as language[_territory]
/// [.codeset][@modifier].
std::string user_locale() {
    for (const char *const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *const value = std::getenv(variable);
        const std::string locale = value != nullptr ? value : "";
        const std::string name = locale.substr(0, locale.find_first_of(".@"));
        if (!locale.empty())
            return name.empty() || name == "C" || name == "POSIX" ? "en_US" : name;
    }
    return "en_US";
}

} // namespace kavro_cli
