#pragma once

#include <algorithm>
#include <string_view>

// Letters of protocols: ASCII alone, whatever the program's locale.

namespace kavro::ascii {

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, lower, lower);
}

constexpr bool starts_ignoring_case(std::string_view text, std::string_view start) {
    return equal_ignoring_case(text.substr(0, start.size()), start);
}

constexpr bool is_alphanumeric(char c) {
    return (lower(c) >= 'a' && lower(c) <= 'z') || (c >= '0' && c <= '9');
}

constexpr bool is_control(char c) {
    return (c >= 0 && c < 0x20) || c == 0x7F;
}

} // namespace kavro::ascii
