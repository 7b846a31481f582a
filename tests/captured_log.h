#pragma once

#include "utils/src/broker_log.h"

#include <cstdarg>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

namespace kavro {

struct LogLine {
    int32_t category;
    int32_t severity;
    int32_t error;
    std::string text;

    friend bool operator==(const LogLine &, const LogLine &) = default;
    friend std::ostream &operator<<(std::ostream &out, const LogLine &line) {
        return out << '(' << line.category << ", " << line.severity << ", " << line.error << ") "
                   << line.text;
    }
};

/// Keeps every message of the library from its construction on.
class CapturedLog {
public:
    CapturedLog() {
        lines().clear();
        set_log_function(&CapturedLog::record);
    }

    static std::vector<LogLine> &lines() {
        static std::vector<LogLine> all;
        return all;
    }

private:
    BROKER_PRINTF_FORMAT(4, 0)
    static void record(int32_t category, int32_t severity, int32_t error, const char *format,
                       va_list arguments) {
        va_list again;
        va_copy(again, arguments);
        std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
        va_end(again);
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);
        lines().push_back({category, severity, error, text});
    }
};

} // namespace kavro
