#include "utils/src/broker_log.h"

#include <fmt/format.h>

#include <atomic>
#include <cstdarg>
#include <iterator>

namespace kavro {
namespace {

std::atomic<kavro_broker_log_function> log_function{nullptr};
std::atomic<kavro_broker_session_log_id_function> session_log_id_function{nullptr};
std::atomic<int32_t> highest_wanted{static_cast<int32_t>(LogSeverity::verbose)};

/// Calls a hook of the caller's program, if it is set; what the hook throws does not come back.
template <class Hook, class... Arguments>
void call(const std::atomic<Hook> &hook, Arguments... arguments) noexcept {
    const Hook function = hook;
    if (function == nullptr)
        return;
    try {
        function(arguments...);
    } catch (...) {
        // There is no place to report it: the log is the one that failed.
    }
}

void deliver(const LogChannel &channel, const char *format, va_list arguments) noexcept {
    if (is_logged(channel.severity))
        call(log_function, static_cast<int32_t>(channel.category),
             static_cast<int32_t>(channel.severity), channel.error, format, arguments);
}

} // namespace

void broker_log(LogCategory category, LogSeverity severity, int32_t error, const char *format,
                ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    deliver({category, severity, error}, format, arguments);
    va_end(arguments);
}

void LogChannel::operator()(const char *format, ...) const noexcept {
    va_list arguments;
    va_start(arguments, format);
    deliver(*this, format, arguments);
    va_end(arguments);
}

void trace_entry(const char *function) noexcept {
    log_debug("ENTRY: %s", function);
}

void trace_entry(const char *function, const char *detail) noexcept {
    log_debug("ENTRY: %s %s", function, detail);
}

void trace_entry(const char *function, int detail) noexcept {
    log_debug("ENTRY: %s %d", function, detail);
}

void trace_exit(const char *function) noexcept {
    log_verbose("EXIT: %s", function);
}

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            fmt::format_to(std::back_inserter(shown), "\\x{:02X}", byte);
        else
            shown += c;
    }
    return shown;
}

void set_log_function(kavro_broker_log_function function) noexcept {
    if (function != nullptr)
        log_function = function;
    else
        log_info("%s: Attempt to reset callback to NULL.  Action is ignored.",
                 "kavro_broker_set_log_function");
}

bool has_log_function() noexcept {
    return log_function != nullptr;
}

void set_log_level(int32_t highest_severity) noexcept {
    highest_wanted = highest_severity;
}

bool is_logged(LogSeverity severity) noexcept {
    const bool wanted =
        severity == LogSeverity::banner || static_cast<int32_t>(severity) <= highest_wanted;
    return wanted && has_log_function();
}

void set_session_log_id_function(kavro_broker_session_log_id_function function) noexcept {
    if (function != nullptr)
        session_log_id_function = function;
}

void report_session_log_id(const std::string &session_id) noexcept {
    call(session_log_id_function, session_id.c_str());
}

} // namespace kavro
