#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace kavro {

/// Overwrites memory even where nobody reads it again.
void cleanse(void *memory, std::size_t size) noexcept;

/// Wipes memory before it gives it back, so that no secret stays behind in freed memory, not even
/// when a container grows.
template <class T>
struct CleansingAllocator {
    using value_type = T;

    CleansingAllocator() = default;
    template <class U>
    CleansingAllocator(const CleansingAllocator<U> &) noexcept {}

    T *allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T *memory, std::size_t count) noexcept {
        cleanse(memory, count * sizeof(T));
        std::allocator<T>().deallocate(memory, count);
    }

    friend bool operator==(CleansingAllocator, CleansingAllocator) noexcept { return true; }
};

/// A text that may hold a password, token or ticket: request and response buffers.
///
/// A short text (up to 15 characters) lives inside the string object and not in allocated memory:
/// it is never wiped by itself. Call wipe() on one that may be short before it is destroyed, or
/// reserve() more than that before the secret goes in.
using SecureText = std::basic_string<char, std::char_traits<char>, CleansingAllocator<char>>;

/// Empties the text and leaves nothing of it in memory; the memory itself is kept for reuse.
inline void wipe(SecureText &text) noexcept {
    text.resize(text.capacity());
    cleanse(text.data(), text.size());
    text.clear();
}

} // namespace kavro
