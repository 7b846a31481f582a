#pragma once

#include "kavro_broker_extras.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

/// Lets the compiler check a printf format against its arguments, where it knows how to.
#if defined(__GNUC__)
#define BROKER_PRINTF_FORMAT(format_index, first_argument)                                         \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define BROKER_PRINTF_FORMAT(format_index, first_argument)
#endif

namespace kavro {

enum class LogCategory : int32_t {
    general = KAVRO_BROKER_LOG_CATEGORY_GENERAL,
    discovery = KAVRO_BROKER_LOG_CATEGORY_DISCOVERY,
};

enum class LogSeverity : int32_t {
    banner = KAVRO_BROKER_LOG_BANNER,
    error = KAVRO_BROKER_LOG_ERROR,
    info = KAVRO_BROKER_LOG_INFO,
    debug = KAVRO_BROKER_LOG_DEBUG,
    verbose = KAVRO_BROKER_LOG_VERBOSE,
};

/// The error value of messages that report an error which has no number of its own.
inline constexpr int32_t generic_error = -500;

/// The one way into the log. Does nothing while no log function is set; whatever that function
/// throws ends here.
void broker_log(LogCategory category, LogSeverity severity, int32_t error, const char *format,
                ...) noexcept BROKER_PRINTF_FORMAT(4, 5);

/// broker_log() with everything but the message decided: `log_error("No adapter with IP %s", ip)`.
/// An object, so that one body serves all of them and the compiler still checks every format.
struct LogChannel {
    LogCategory category;
    LogSeverity severity;
    int32_t error = 0;

    void operator()(const char *format, ...) const noexcept BROKER_PRINTF_FORMAT(2, 3);
};

inline constexpr LogChannel log_error{LogCategory::general, LogSeverity::error, generic_error};
inline constexpr LogChannel log_info{LogCategory::general, LogSeverity::info};
inline constexpr LogChannel log_debug{LogCategory::general, LogSeverity::debug};
inline constexpr LogChannel log_verbose{LogCategory::general, LogSeverity::verbose};

/// The same for finding the broker and resolving registration codes.
inline constexpr LogChannel discovery_log_error{LogCategory::discovery, LogSeverity::error,
                                                generic_error};
inline constexpr LogChannel discovery_log_info{LogCategory::discovery, LogSeverity::info};
inline constexpr LogChannel discovery_log_debug{LogCategory::discovery, LogSeverity::debug};

/// Traces of the calls that matter, by qualified name, with what tells one call from the other.
void trace_entry(const char *function) noexcept;
void trace_entry(const char *function, const char *detail) noexcept;
void trace_entry(const char *function, int detail) noexcept;
void trace_exit(const char *function) noexcept;

/// Text of a peer or a caller for use inside a log sentence: control characters become `\xNN`, so
/// that nobody forges a second log line or sends escape sequences to a terminal.
std::string printable(std::string_view text);

/// Replaces the log function. Null is refused with a log line.
void set_log_function(kavro_broker_log_function function) noexcept;
bool has_log_function() noexcept;

/// Drops messages of a higher severity from now on; banners are never dropped.
void set_log_level(int32_t highest_severity) noexcept;
/// Whether a message of this severity is seen: lets callers skip building a text that would be
/// dropped.
bool is_logged(LogSeverity severity) noexcept;

/// Who hears the lines of one conversation, in the place of the log function.
struct Listener {
    kavro_broker_message_function function = nullptr; ///< null for the log function
    void *context = nullptr;
    std::atomic<bool> hearing = false; ///< the function is being called
};

/// What this thread logs while it lives is heard by one listener; by the log function, for null.
class LogScope {
public:
    explicit LogScope(Listener *listener) noexcept;
    ~LogScope();
    LogScope(const LogScope &) = delete;
    LogScope &operator=(const LogScope &) = delete;

private:
    Listener *const before_;
};

/// Replaces the session log id function. Null is ignored.
void set_session_log_id_function(kavro_broker_session_log_id_function function) noexcept;

/// Tells the caller under which identifier the broker logs this client.
void report_session_log_id(const std::string &session_id) noexcept;

} // namespace kavro
