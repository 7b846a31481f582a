#pragma once

#include "utils/src/broker_log.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// What all fuzzers share. Each is a program of its own: it turns bytes into the input of one
// parser, lets it read, and says what must hold whatever the bytes are.

namespace fuzz {

/// Where texts and numbers come from when a parser takes more than one: texts from the front of the
/// bytes, each ended by a backslash and any other character, numbers from their end.
using Input = FuzzedDataProvider;

/// What a parser guarantees. A broken promise is a crash like any other.
inline void promise(bool kept, const char *what) {
    if (kept)
        return;
    std::fprintf(stderr, "\nbroken promise: %s\n", what);
    std::abort();
}

inline std::string_view as_text(const std::uint8_t *data, std::size_t size) {
    return {reinterpret_cast<const char *>(data), size};
}

/// Takes every log message in and shows none; a message whose arguments do not fit its format, or
/// are gone, is found all the same.
struct SilentLog {
    SilentLog() { kavro::set_log_function(&SilentLog::take); }

    BROKER_PRINTF_FORMAT(4, 0)
    static void take(std::int32_t, std::int32_t, std::int32_t, const char *format,
                     std::va_list arguments) {
        std::vsnprintf(nullptr, 0, format, arguments);
    }
};
inline const SilentLog silent_log;

} // namespace fuzz
