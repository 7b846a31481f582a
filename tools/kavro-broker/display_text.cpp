#include "display_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace kavro_cli {
namespace {

struct Range {
    char32_t first, last;
};

/// Two columns wide: the scripts of East Asia and the symbols that are drawn as pictures.
constexpr Range wide_characters[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},
    {0x23F0, 0x23F0},   {0x23F3, 0x23F3},   {0x25FD, 0x25FE},   {0x2614, 0x2615},
    {0x2648, 0x2653},   {0x267F, 0x267F},   {0x2693, 0x2693},   {0x26A1, 0x26A1},
    {0x26AA, 0x26AB},   {0x26BD, 0x26BE},   {0x26C4, 0x26C5},   {0x26CE, 0x26CE},
    {0x26D4, 0x26D4},   {0x26EA, 0x26EA},   {0x26F2, 0x26F3},   {0x26F5, 0x26F5},
    {0x26FA, 0x26FA},   {0x26FD, 0x26FD},   {0x2705, 0x2705},   {0x270A, 0x270B},
    {0x2728, 0x2728},   {0x274C, 0x274C},   {0x274E, 0x274E},   {0x2753, 0x2755},
    {0x2757, 0x2757},   {0x2795, 0x2797},   {0x27B0, 0x27B0},   {0x27BF, 0x27BF},
    {0x2B1B, 0x2B1C},   {0x2B50, 0x2B50},   {0x2B55, 0x2B55},   {0x2E80, 0x303E},
    {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},
    {0xFFE0, 0xFFE6},   {0x16FE0, 0x18CFF}, {0x1B000, 0x1B2FF}, {0x1F004, 0x1F004},
    {0x1F0CF, 0x1F0CF}, {0x1F18E, 0x1F18E}, {0x1F191, 0x1F19A}, {0x1F200, 0x1F320},
    {0x1F32D, 0x1F335}, {0x1F337, 0x1F37C}, {0x1F37E, 0x1F393}, {0x1F3A0, 0x1F3CA},
    {0x1F3CF, 0x1F3D3}, {0x1F3E0, 0x1F3F0}, {0x1F3F4, 0x1F3F4}, {0x1F3F8, 0x1F43E},
    {0x1F440, 0x1F440}, {0x1F442, 0x1F4FC}, {0x1F4FF, 0x1F53D}, {0x1F54B, 0x1F567},
    {0x1F57A, 0x1F57A}, {0x1F595, 0x1F596}, {0x1F5A4, 0x1F5A4}, {0x1F5FB, 0x1F64F},
    {0x1F680, 0x1F6C5}, {0x1F6CC, 0x1F6CC}, {0x1F6D0, 0x1F6D7}, {0x1F6DC, 0x1F6DF},
    {0x1F6EB, 0x1F6EC}, {0x1F6F4, 0x1F6FC}, {0x1F7E0, 0x1F7F0}, {0x1F90C, 0x1F93A},
    {0x1F93C, 0x1F945}, {0x1F947, 0x1FAFF}, {0x20000, 0x3FFFD},
};

/// No column of their own: marks drawn over the character before them.
constexpr Range combining_characters[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0670, 0x0670}, {0x06D6, 0x06DC}, {0x0730, 0x074A}, {0x093A, 0x093A}, {0x093C, 0x093C},
    {0x0941, 0x0948}, {0x094D, 0x094D}, {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},
    {0x1160, 0x11FF}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200D}, {0x20D0, 0x20FF},
    {0x302A, 0x302D}, {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xE0100, 0xE01EF},
};

/// Characters that do something to a terminal, or to the order of what it shows.
constexpr Range unsafe_characters[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0x200E, 0x200F}, {0x2028, 0x202E},
    {0x2066, 0x2069}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0001, 0xE007F},
};

template <std::size_t Count>
bool within(const Range (&ranges)[Count], char32_t character) {
    const auto *range = std::ranges::lower_bound(ranges, character, {}, &Range::last);
    return range != std::end(ranges) && range->first <= character;
}

struct Character {
    char32_t code;
    std::string_view bytes;
    bool valid; ///< false: one byte that is no UTF-8
};

/// Takes the first character off a text that is not empty.
Character take_character(std::string_view &text) {
    struct Form {
        unsigned char mask, lead;
        char32_t least; ///< anything below was written longer than it needs to be
    };
    static constexpr Form forms[] = {
        {0x80, 0x00, 0x0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

    const auto lead = static_cast<unsigned char>(text.front());
    Character character{lead, text.substr(0, 1), false};
    for (std::size_t extra = 0; extra < std::size(forms); ++extra) {
        const auto &form = forms[extra];
        if ((lead & form.mask) != form.lead || text.size() <= extra)
            continue;
        char32_t code = lead & static_cast<unsigned char>(~form.mask);
        bool valid = true;
        for (const char byte : text.substr(1, extra)) {
            valid = valid && (byte & 0xC0) == 0x80;
            code = code << 6 | (byte & 0x3F);
        }
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        if (valid && code >= form.least && code <= 0x10FFFF && !surrogate)
            character = {code, text.substr(0, extra + 1), true};
    }
    text.remove_prefix(character.bytes.size());
    return character;
}

std::string escape_of(char32_t code) {
    const auto number = static_cast<uint32_t>(code);
    return number <= 0xFF ? fmt::format("\\x{:02x}", number) : fmt::format("\\u{:04x}", number);
}

} // namespace

std::string visible(std::string_view text, Lines lines) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const auto character = take_character(text);
        const bool line_end = character.code == '\n' && lines == Lines::many;
        if (line_end || (character.valid && !within(unsafe_characters, character.code)))
            shown += character.bytes;
        else if (character.code == '\r' && lines == Lines::many && text.starts_with('\n'))
            continue;
        else
            shown += escape_of(character.code);
    }
    return shown;
}

std::size_t display_width(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        const auto code = take_character(text).code;
        width += within(wide_characters, code) ? 2 : within(combining_characters, code) ? 0 : 1;
    }
    return width;
}

std::string word_wrapped(std::string_view text, std::size_t width) {
    std::string wrapped;
    std::size_t column = 0;
    while (!text.empty()) {
        const auto word = text.substr(0, text.find_first_of(" \n"));
        const auto word_width = display_width(word);
        if (column != 0 && !word.empty()) {
            const bool fits = column + 1 + word_width <= width;
            wrapped += fits ? ' ' : '\n';
            column = fits ? column + 1 : 0;
        }
        wrapped += word;
        column += word_width;
        text.remove_prefix(word.size());
        if (text.starts_with('\n')) {
            wrapped += '\n';
            column = 0;
        }
        text.remove_prefix(text.empty() ? 0 : 1);
    }
    return wrapped;
}

} // namespace kavro_cli
