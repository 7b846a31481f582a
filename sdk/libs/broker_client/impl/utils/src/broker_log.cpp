#include "utils/src/broker_log.h"

#include "utils/src/secure_text.h"
#include "utils/src/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <utility>

namespace kavro {
namespace {

std::atomic<kavro_broker_log_function> log_function{nullptr};
std::atomic<kavro_broker_session_log_id_function> session_log_id_function{nullptr};
std::atomic<int32_t> highest_wanted{static_cast<int32_t>(LogSeverity::verbose)};

thread_local Listener *current_listener = nullptr;

/// The line that a format and its arguments stand for, in UTF-8 whatever a peer or a caller said.
BROKER_PRINTF_FORMAT(1, 0)
SecureText line_of(const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    SecureText line(static_cast<std::size_t>(std::max(size, 0)), '\0'); // may hold a ticket
    std::vsnprintf(line.data(), line.size() + 1, format, arguments);
    return utf8::repaired(line);
}

/// What is logged meanwhile is not of the conversation but of what is made of it, and goes to the
/// log function.
BROKER_PRINTF_FORMAT(3, 0)
void hear(Listener &listener, const LogChannel &channel, const char *format,
          va_list arguments) noexcept {
    listener.hearing = true;
    try {
        listener.function(listener.context, static_cast<int32_t>(channel.category),
                          static_cast<int32_t>(channel.severity), channel.error,
                          line_of(format, arguments).c_str());
    } catch (...) { // there is no place to report it
    }
    listener.hearing = false;
}

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

BROKER_PRINTF_FORMAT(2, 0)
void deliver(const LogChannel &channel, const char *format, va_list arguments) noexcept {
    if (!is_logged(channel.severity))
        return;
    Listener *const listener = current_listener;
    if (listener != nullptr && listener->function != nullptr && !listener->hearing)
        hear(*listener, channel, format, arguments);
    else
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

LogScope::LogScope(Listener *listener) noexcept
    : before_(std::exchange(current_listener, listener)) {}

LogScope::~LogScope() {
    current_listener = before_;
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
