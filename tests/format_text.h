#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

#if defined(__GNUC__)
__attribute__((format(printf, 1, 0)))
#endif
/// What printf() makes of these.
inline std::string
format_text(const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
    va_end(again);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}
