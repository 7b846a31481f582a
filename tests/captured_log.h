#pragma once

#include "format_text.h"
#include "utils/src/broker_log.h"

#include <algorithm>
#include <cstdarg>
#include <ostream>
#include <string>
#include <string_view>
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

    /// How many messages are that text.
    static std::ptrdiff_t count(std::string_view text) {
        return std::ranges::count(lines(), text, &LogLine::text);
    }
    /// Whether a message has that in it.
    static bool holds(std::string_view part) {
        return std::ranges::any_of(lines(), [part](const LogLine &line) {
            return line.text.find(part) != std::string::npos;
        });
    }

private:
    BROKER_PRINTF_FORMAT(4, 0)
    static void record(int32_t category, int32_t severity, int32_t error, const char *format,
                       va_list arguments) {
        lines().push_back({category, severity, error, format_text(format, arguments)});
    }
};

} // namespace kavro
