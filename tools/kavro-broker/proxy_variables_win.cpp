#include "proxy_variables.h"

#include <cstdlib>

namespace kavro_cli {

/// Names of variables know no letter case here.
bool environment_names_proxy() {
    const char *const value = std::getenv("HTTPS_PROXY");
    return value != nullptr && *value != '\0';
}

/// The system's own settings count here, and they hold no log-in.
void forget_log_in_of_environment() {
    _putenv_s("KAVRO_BROKER_NO_TICKETS", "1");
}

} // namespace kavro_cli
