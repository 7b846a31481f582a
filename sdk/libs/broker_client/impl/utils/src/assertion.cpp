#include "utils/src/assertion.h"

#include "utils/src/broker_log.h"

#include <cstdlib>

namespace kavro {

void broker_assert_failed(const char *function, int line) noexcept {
    broker_log(LogCategory::general, LogSeverity::banner, generic_error,
               "============ Broker Assert in function %s at line number %d. ============",
               function, line);
    std::abort();
}

} // namespace kavro
