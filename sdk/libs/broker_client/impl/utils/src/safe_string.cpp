#include "utils/src/safe_string.h"

#include <atomic>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace kavro {
namespace {

constexpr int max_regex_results = 10;

void ignore_error(const char *, void *, int) {}

std::atomic<kavro_safe_api_handler> string_error_handler{ignore_error};
std::atomic<kavro_safe_api_handler> memory_error_handler{ignore_error};

kavro_safe_api_handler exchange_handler(std::atomic<kavro_safe_api_handler> &current,
                                        kavro_safe_api_handler handler) noexcept {
    return current.exchange(handler != nullptr ? handler : ignore_error);
}

int string_error(const char *message, int error) {
    string_error_handler.load()(message, nullptr, error);
    return error;
}

/// A failed copy leaves the empty text behind.
int failed_strcpy(char *dest, const char *message, int error) {
    *dest = '\0';
    return string_error(message, error);
}

int memory_error(const char *message, int error) {
    memory_error_handler.load()(message, nullptr, error);
    return error;
}

/// A failed copy leaves zeros behind.
int failed_memcpy(void *dest, std::size_t dmax, const char *message, int error) {
    std::memset(dest, 0, dmax);
    return memory_error(message, error);
}

/// Whether `inner` lies behind `outer`, less than `size` bytes away. Compares numbers, because the
/// two may point into different objects.
bool lies_within(const void *inner, const void *outer, std::size_t size) {
    const auto from = reinterpret_cast<std::uintptr_t>(outer);
    const auto to = reinterpret_cast<std::uintptr_t>(inner);
    return from < to && to - from < size;
}

int upper(char c) {
    return std::toupper(static_cast<unsigned char>(c));
}

} // namespace

kavro_safe_api_handler kavro_set_string_error_handler(kavro_safe_api_handler handler) noexcept {
    return exchange_handler(string_error_handler, handler);
}

kavro_safe_api_handler kavro_set_memory_error_handler(kavro_safe_api_handler handler) noexcept {
    return exchange_handler(memory_error_handler, handler);
}

void kavro_safe_api_error_handler(const char *message, void *, int error) {
    std::printf("%s: [%d] %s\n", "kavro_safe_api_error_handler", error, message);
}

int kavro_strcpy_s(char *dest, std::size_t dmax, const char *src) {
    if (dest == nullptr)
        return string_error("kavro_strcpy_s: dest is null", KAVRO_SAFE_NULL_POINTER);
    if (dmax == 0)
        return string_error("kavro_strcpy_s: dmax is 0", KAVRO_SAFE_ZERO_LENGTH);
    if (src == nullptr)
        return failed_strcpy(dest, "kavro_strcpy_s: src is null", KAVRO_SAFE_NULL_POINTER);
    if (dest == src)
        return KAVRO_SAFE_OK;

    // As many bytes as there are between the two can be copied before one runs into the other.
    for (std::size_t i = 0; i < dmax; ++i) {
        if (dest + i == src || src + i == dest)
            return failed_strcpy(dest, "kavro_strcpy_s: overlapping objects", KAVRO_SAFE_OVERLAP);
        dest[i] = src[i];
        if (src[i] == '\0')
            return KAVRO_SAFE_OK;
    }
    return failed_strcpy(dest, "kavro_strcpy_s: not enough space for src", KAVRO_SAFE_NO_SPACE);
}

int kavro_memcpy_s(void *dest, std::size_t dmax, const void *src, std::size_t smax) {
    if (dest == nullptr)
        return memory_error("kavro_memcpy_s: dest is NULL", KAVRO_SAFE_NULL_POINTER);
    if (smax == 0)
        return KAVRO_SAFE_OK;
    if (smax > dmax)
        return failed_memcpy(dest, dmax, "kavro_memcpy_s: smax exceeds dmax",
                             KAVRO_SAFE_EXCEEDS_MAXIMUM);
    if (src == nullptr)
        return failed_memcpy(dest, dmax, "kavro_memcpy_s: src is NULL", KAVRO_SAFE_NULL_POINTER);
    if (lies_within(dest, src, smax) || lies_within(src, dest, dmax))
        return failed_memcpy(dest, dmax, "kavro_memcpy_s: overlap undefined", KAVRO_SAFE_OVERLAP);
    std::memmove(dest, src, smax); // the two may be the same
    return KAVRO_SAFE_OK;
}

int kavro_strcasecmp_s(const char *dest, const char *src, std::size_t count) {
    if (dest == nullptr)
        string_error("kavro_strcasecmp_s: dest is null", KAVRO_SAFE_NULL_POINTER);
    if (src == nullptr)
        string_error("kavro_strcasecmp_s: src is null", KAVRO_SAFE_NULL_POINTER);
    if (count == 0)
        string_error("kavro_strcasecmp_s: count is 0", KAVRO_SAFE_ZERO_LENGTH);
    if (dest == nullptr || src == nullptr || count == 0)
        return -1;

    for (std::size_t i = 0; i < count; ++i) {
        const int difference = upper(dest[i]) - upper(src[i]);
        if (difference != 0 || dest[i] == '\0')
            return difference;
    }
    return 0;
}

std::size_t kavro_strnlen_s(const char *text, std::size_t dmax) {
    if (text == nullptr)
        return 0;
    if (dmax == 0) {
        string_error("kavro_strnlen_s: dmax is 0", KAVRO_SAFE_ZERO_LENGTH);
        return 0;
    }
    const void *end = std::memchr(text, '\0', dmax);
    return end == nullptr ? dmax : static_cast<std::size_t>(static_cast<const char *>(end) - text);
}

int kavro_safe_api_sscanf_regex(const char *text, std::size_t length, const char *,
                                const kavro_safe_api_regex_storage *storage) {
    if (storage != nullptr && storage->n_storage_provided > max_regex_results)
        std::printf("%s: n_storage_provided(%d) is bigger than maximum(%d)\n",
                    "kavro_safe_api_sscanf_regex", storage->n_storage_provided, max_regex_results);
    else if (kavro_strnlen_s(text, length) != 0)
        string_error("kavro_safe_api_sscanf_regex: Please customize implementation of RegEx API "
                     "for your platform",
                     KAVRO_SAFE_NOT_AVAILABLE);
    else
        string_error("kavro_safe_api_sscanf_regex: string_for_checking has zero length",
                     KAVRO_SAFE_EMPTY_TEXT);
    return -1;
}

} // namespace kavro
