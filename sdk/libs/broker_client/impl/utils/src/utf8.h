#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

// UTF-8 as RFC 3629 has it.

namespace kavro::utf8 {

/// What stands for a byte that is no part of a character: U+FFFD.
inline constexpr std::string_view replacement = "\xef\xbf\xbd";

/// How many bytes the well-formed character at the start of a text has; 0 for none (section 4).
constexpr std::size_t character_size(std::string_view text) {
    const auto at = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = at(0);
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < size)
        return 0;
    // Neither overlong forms nor surrogates nor anything beyond U+10FFFF.
    const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    const bool continued = std::ranges::all_of(text.substr(2, size - 2),
                                               [](unsigned char c) { return (c >> 6) == 2; });
    return at(1) >= lowest && at(1) <= highest && continued ? size : 0;
}

/// The text with something else for every byte that is no part of a character.
template <class Text>
Text repaired(const Text &text) {
    const std::string_view bytes = text;
    Text whole;
    std::size_t kept = 0; // from here on, the text still has to be copied
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t size = character_size(bytes.substr(at));
        if (size == 0) {
            whole.append(bytes.substr(kept, at - kept)).append(replacement);
            kept = at + 1;
        }
        at += std::max<std::size_t>(size, 1);
    }
    return whole.append(bytes.substr(kept));
}

/// Section 3.
template <class Text>
void append(Text &out, std::uint32_t character) {
    constexpr std::uint32_t bits = 6;
    const auto continued = [&out, character](int groups) {
        for (; groups > 0; --groups)
            out += static_cast<char>(0x80 | ((character >> (bits * (groups - 1U))) & 0x3F));
    };
    if (character < 0x80) {
        out += static_cast<char>(character);
    } else if (character < 0x800) {
        out += static_cast<char>(0xC0 | (character >> bits));
        continued(1);
    } else if (character < 0x10000) {
        out += static_cast<char>(0xE0 | (character >> (2 * bits)));
        continued(2);
    } else {
        out += static_cast<char>(0xF0 | (character >> (3 * bits)));
        continued(3);
    }
}

} // namespace kavro::utf8
