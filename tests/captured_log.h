#pragma once

#include "format_text.h"
#include "kavro_broker.h"

#include <algorithm>
#include <cstdarg>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace kavro {

void set_log_function(kavro_broker_log_function function) noexcept;

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

/// Keeps every message that the library writes on this thread from its construction on.
class CapturedLog {
public:
    /// With `install` where the shared library shows nothing else.
    explicit CapturedLog(void (*install)(kavro_broker_log_function) = set_log_function) {
        lines().clear();
        hook = nullptr;
        install(&CapturedLog::record);
    }

    /// Is called with every message, until another log is kept.
    static inline std::function<void(const std::string &)> hook;

    /// Of this thread. Not thread_local, which MinGW frees before it is destroyed.
    static std::vector<LogLine> &lines() {
        static std::mutex mutex;
        static auto &all = *new std::map<std::thread::id, std::vector<LogLine>>;
        const std::lock_guard lock(mutex);
        return all[std::this_thread::get_id()];
    }

    /// How many messages are that text.
    static std::ptrdiff_t count(std::string_view text) {
        return std::ranges::count(lines(), text, &LogLine::text);
    }
    /// Whether a message has that in it.
    static bool holds(std::string_view part) { return text().find(part) != std::string::npos; }

    static std::string text() {
        std::string all;
        for (const LogLine &line : lines())
            all += line.text + "\n";
        return all;
    }
    /// The text so far, which is forgotten.
    static std::string take() {
        std::string all = text();
        lines().clear();
        return all;
    }

private:
    __attribute__((format(printf, 4, 0))) static void record(int32_t category, int32_t severity,
                                                             int32_t error, const char *format,
                                                             va_list arguments) {
        const std::string text = format_text(format, arguments);
        lines().push_back({category, severity, error, text});
        if (hook)
            hook(text);
    }
};

} // namespace kavro
