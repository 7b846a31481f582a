#pragma once

#include "utils/src/checkpoint.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The characters of XML: what ends a name, a text or a value, and what stands for another
// character. Every position points into a text that ends with a zero byte, so that nothing here has
// to know where the text ends.

namespace kavro::xml {

inline constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

/// What a character means to a scan that runs up to it.
enum Stop : std::uint8_t {
    not_white = 1,
    ends_name = 2,
    ends_text = 4,           ///< a tag begins, or a reference
    ends_quoted = 8,         ///< a value in quotation marks
    ends_apostrophised = 16, ///< a value in apostrophes
    excluded = 32 ///< of XML's characters (XML 1.0 section 2.2); ends names, texts and values too
};

inline constexpr auto stops = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(not_white);
    const auto add = [&table](std::string_view characters, int stop) {
        for (const char c : characters) {
            auto &entry = table[static_cast<unsigned char>(c)];
            entry = static_cast<std::uint8_t>(entry | stop);
        }
    };
    for (std::size_t control = 0; control < 0x20; ++control)
        table[control] =
            not_white | ends_name | ends_text | ends_quoted | ends_apostrophised | excluded;
    for (const char c : {' ', '\t', '\r', '\n'})
        table[static_cast<unsigned char>(c)] = 0;
    add(" \t\r\n/>=<?!\"'", ends_name);
    add("<&", ends_text);
    add("\"", ends_quoted);
    add("'", ends_apostrophised);
    return table;
}();

inline bool is(char c, Stop stop) {
    return (stops[static_cast<unsigned char>(c)] & stop) != 0;
}

inline const char *find(const char *at, Stop stop) {
    while (!is(*at, stop))
        ++at;
    return at;
}

inline const char *skip_white(const char *at) {
    return find(at, not_white);
}

/// What an ampersand stands for. Only the five names and numbers are references; any other
/// ampersand stands for itself.
struct Reference {
    std::size_t size = 1;
    std::uint32_t character = '&';
    const char *error = nullptr; ///< why it is malformed
};
Reference read_reference(const char *ampersand);

/// An attribute as it is spelt.
struct RawAttribute {
    std::string_view name;
    std::string_view value;
};

/// Reads the attribute at `at` and moves past it; references in its value are not looked at.
/// @return null, or why it is malformed, which leaves `at` anywhere
const char *read_attribute(const char *&at, RawAttribute &attribute);

/// Appends the text that this one spells.
void append_decoded(std::string &out, std::string_view raw, PacedCheckpoint &checkpoint);

} // namespace kavro::xml
