#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace kavro_cli {

/// Overwrites memory in a way that the compiler may not leave out.
inline void wipe(void *memory, std::size_t size) {
    auto *byte = static_cast<volatile unsigned char *>(memory);
    while (size-- != 0)
        *byte++ = 0;
}

/// Wipes every block before it goes back, so that growing leaves no copy behind either.
template <class Value>
struct WipingAllocator : std::allocator<Value> {
    template <class Other>
    struct rebind {
        using other = WipingAllocator<Other>;
    };

    void deallocate(Value *memory, std::size_t count) {
        wipe(memory, count * sizeof(Value));
        std::allocator<Value>::deallocate(memory, count);
    }
};

/// A text that leaves nothing in memory. Not a string: those keep short texts inside themselves.
class Secret {
public:
    Secret() = default;
    explicit Secret(std::string_view text) { append(text); }

    void push_back(char character) {
        if (bytes_.empty())
            bytes_.push_back('\0');
        bytes_.back() = character;
        bytes_.push_back('\0');
    }
    void append(std::string_view text) {
        for (const char character : text)
            push_back(character);
    }
    void clear() {
        if (!bytes_.empty())
            wipe(bytes_.data(), bytes_.size());
        bytes_.clear();
    }

    const char *c_str() const { return bytes_.empty() ? "" : bytes_.data(); }
    std::size_t size() const { return bytes_.empty() ? 0 : bytes_.size() - 1; }
    bool empty() const { return size() == 0; }
    std::string_view view() const { return {c_str(), size()}; }
    bool operator==(const Secret &other) const { return view() == other.view(); }

private:
    std::vector<char, WipingAllocator<char>> bytes_; ///< with a terminating zero, or empty
};

} // namespace kavro_cli
