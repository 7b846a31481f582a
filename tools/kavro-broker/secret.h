#pragma once

#include "utils/src/secure_text.h"

#include <string_view>
#include <vector>

namespace kavro_cli {

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
            kavro::cleanse(bytes_.data(), bytes_.size());
        bytes_.clear();
    }

    const char *c_str() const { return bytes_.empty() ? "" : bytes_.data(); }
    std::size_t size() const { return bytes_.empty() ? 0 : bytes_.size() - 1; }
    bool empty() const { return size() == 0; }
    std::string_view view() const { return {c_str(), size()}; }
    bool operator==(const Secret &other) const { return view() == other.view(); }

private:
    std::vector<char, kavro::CleansingAllocator<char>>
        bytes_; ///< with a terminating zero, or empty
};

} // namespace kavro_cli
