#include "proxy_variables.h"

#include <array>
#include <cstdlib>
#include <string>

namespace kavro_cli {

constexpr std::array variables = {"https_proxy", "HTTPS_PROXY"};

bool environment_names_proxy() {
    for (const char *const name : variables)
        if (const char *const value = std::getenv(name); value != nullptr && *value != '\0')
            return true;
    return false;
}

/// The log-in stands before the last "@", behind a scheme if there is one.
void forget_log_in_of_environment() {
    for (const char *const name : variables) {
        const char *const value = std::getenv(name);
        std::string text = value != nullptr ? value : "";
        const std::size_t scheme = text.find("://");
        const std::size_t begin = scheme == text.npos ? 0 : scheme + 3;
        if (const std::size_t at = text.rfind('@'); at != text.npos && at >= begin)
            setenv(name, text.erase(begin, at + 1 - begin).c_str(), 1);
    }
    setenv("KAVRO_BROKER_NO_TICKETS", "1", 1);
}

} // namespace kavro_cli
