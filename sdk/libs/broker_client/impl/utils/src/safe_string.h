#pragma once

#include <cstddef>

/// String and memory functions that check their bounds, report a violated precondition to a
/// replaceable handler and return its number. None of them throws.
///
/// The exports copy with kavro_strcpy_s() and kavro_memcpy_s(). The others and the handlers make
/// the layer whole for ports to systems with such functions of their own; nobody calls them here.
namespace kavro {

/// The numbers that the functions return and hand to the handlers.
enum : int {
    KAVRO_SAFE_OK = 0,
    KAVRO_SAFE_NULL_POINTER = 400,
    KAVRO_SAFE_ZERO_LENGTH = 401,
    KAVRO_SAFE_EXCEEDS_MAXIMUM = 403,
    KAVRO_SAFE_OVERLAP = 404,
    KAVRO_SAFE_EMPTY_TEXT = 405,
    KAVRO_SAFE_NO_SPACE = 406,
    KAVRO_SAFE_NOT_AVAILABLE = 409,
};

/// Hears of a violated precondition. `pointer` is always null here.
using kavro_safe_api_handler = void (*)(const char *message, void *pointer, int error);

/// Replace the process-wide handler of the string functions and of the memory functions, and
/// return the one before. Null stands for the handler that is there at first and does nothing.
kavro_safe_api_handler kavro_set_string_error_handler(kavro_safe_api_handler handler) noexcept;
kavro_safe_api_handler kavro_set_memory_error_handler(kavro_safe_api_handler handler) noexcept;

/// A handler that prints the message to standard output. Never installed by the library.
void kavro_safe_api_error_handler(const char *message, void *pointer, int error);

/// Copies `src` with its terminating zero into the `dmax` bytes at `dest`. After a failure `dest`
/// is the empty text, never a piece of `src`.
int kavro_strcpy_s(char *dest, std::size_t dmax, const char *src);

/// Copies `smax` bytes into the `dmax` bytes at `dest`. After a failure `dest` is all zero.
int kavro_memcpy_s(void *dest, std::size_t dmax, const void *src, std::size_t smax);

/// Compares at most `count` bytes without regard to case, as strncasecmp() does; -1 on a failure.
int kavro_strcasecmp_s(const char *dest, const char *src, std::size_t count);

/// Number of bytes before the terminating zero, at most `dmax`.
std::size_t kavro_strnlen_s(const char *text, std::size_t dmax);

/// Where kavro_safe_api_sscanf_regex() is asked to put what it finds.
struct kavro_safe_api_regex_storage {
    int n_storage_provided;
};

/// Not available on any platform of this library: reports why and returns -1.
int kavro_safe_api_sscanf_regex(const char *text, std::size_t length, const char *pattern,
                                const kavro_safe_api_regex_storage *storage);

} // namespace kavro
