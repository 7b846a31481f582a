#pragma once

#include "format_text.h"
#include "kavro_broker.h"

#include <cstdarg>
#include <string>
#include <utility>

namespace hostile {

/// Everything that the library logs, at every severity, on the calling thread.
class ThreadLog {
public:
    static void install() { kavro_broker_set_log_function(&ThreadLog::record); }
    static std::string take() { return std::exchange(text(), {}); }

private:
    static std::string &text() {
        static thread_local std::string lines;
        return lines;
    }
    __attribute__((format(printf, 4, 0))) static void
    record(int32_t, int32_t, int32_t, const char *format, va_list arguments) {
        text() += format_text(format, arguments) + "\n";
    }
};

} // namespace hostile
