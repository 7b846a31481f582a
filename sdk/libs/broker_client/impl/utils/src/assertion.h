#pragma once

namespace kavro {

/// Logs the place of a programming error and aborts the process, in every build. `function` is the
/// qualified name that the log shall show; the line is the caller's.
[[noreturn]] void broker_assert_failed(const char *function, int line = __builtin_LINE()) noexcept;

/// Guards against programming errors only: what a peer or a file says never decides `condition`.
inline void broker_assert(bool condition, const char *function,
                          int line = __builtin_LINE()) noexcept {
    if (!condition)
        broker_assert_failed(function, line);
}

} // namespace kavro
