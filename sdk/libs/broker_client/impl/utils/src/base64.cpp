#include "utils/src/base64.h"

#include <array>

namespace kavro {

namespace {

constexpr std::uint8_t white_space = 64;
constexpr std::uint8_t padding = 65;
constexpr std::uint8_t no_digit = 66;

/// The value of a digit, or what else a character is.
constexpr auto digits = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(no_digit);
    std::uint8_t value = 0;
    for (const char c :
         std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))
        table[static_cast<unsigned char>(c)] = value++;
    for (const char c : {' ', '\t', '\r', '\n'})
        table[static_cast<unsigned char>(c)] = white_space;
    table['='] = padding;
    return table;
}();

} // namespace

// OpenSSL's decoder takes several times as long, which counts with a bundle of trust anchors.
std::optional<std::vector<std::uint8_t>> decode_base64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t bits = 0; // of the four digits under way
    std::size_t read = 0;
    std::size_t padded = 0;
    for (const char c : text) {
        const std::uint8_t digit = digits[static_cast<unsigned char>(c)];
        if (digit == white_space)
            continue;
        if (digit == no_digit || (digit != padding && padded != 0))
            return std::nullopt;
        padded += digit == padding ? 1 : 0;
        bits = bits << 6 | (digit == padding ? 0U : digit);
        if (++read % 4 == 0) {
            for (const int shift : {16, 8, 0})
                bytes.push_back(static_cast<std::uint8_t>(bits >> shift));
        }
    }
    if (read % 4 != 0 || padded > 2)
        return std::nullopt;
    bytes.resize(bytes.size() - padded);
    return bytes;
}

} // namespace kavro
