#include "export_guard.h"

#include "utils/src/broker_log.h"

namespace kavro {

kavro_broker_result caught(const char *words, const char *function, std::string *message) noexcept {
    log_error("%s: %s", function, words);
    if (message != nullptr) {
        try {
            *message = std::string(function) + ": " + words;
        } catch (const std::bad_alloc &) {
            *message = "out of memory"; // which needs none
        }
    }
    return KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE;
}

} // namespace kavro
