#include "utils/src/base64.h"

#include <openssl/evp.h>

#include <array>

namespace kavro {

namespace {

// What is no digit is told by this bit.
constexpr std::uint8_t special = 64;
constexpr std::uint8_t white_space = special;
constexpr std::uint8_t padding = special + 1;
constexpr std::uint8_t no_digit = special + 2;

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

void append_group(std::vector<std::uint8_t> &bytes, std::uint32_t bits) {
    for (const int shift : {16, 8, 0})
        bytes.push_back(static_cast<std::uint8_t>(bits >> shift));
}

/// Takes groups of four digits off the text, up to the first that is not whole.
void take_groups(std::string_view &text, std::vector<std::uint8_t> &bytes) {
    const auto digit = [&text](std::size_t index) -> std::uint32_t {
        return digits[static_cast<unsigned char>(text[index])];
    };
    for (; text.size() >= 4; text.remove_prefix(4)) {
        if (((digit(0) | digit(1) | digit(2) | digit(3)) & special) != 0)
            return;
        append_group(bytes, digit(0) << 18 | digit(1) << 12 | digit(2) << 6 | digit(3));
    }
}

} // namespace

// OpenSSL's decoder takes several times as long, which counts with a bundle of trust anchors.
std::optional<std::vector<std::uint8_t>> decode_base64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t bits = 0; // of the group under way
    std::size_t read = 0;
    std::size_t padded = 0;
    for (;; text.remove_prefix(1)) {
        if (read % 4 == 0 && padded == 0)
            take_groups(text, bytes);
        if (text.empty())
            break;
        const std::uint8_t digit = digits[static_cast<unsigned char>(text.front())];
        if (digit == white_space)
            continue;
        if (digit == no_digit || (digit != padding && padded != 0))
            return std::nullopt;
        padded += digit == padding ? 1 : 0;
        bits = bits << 6 | (digit == padding ? 0U : digit);
        if (++read % 4 == 0)
            append_group(bytes, bits);
    }
    if (read % 4 != 0 || padded > 2)
        return std::nullopt;
    bytes.resize(bytes.size() - padded);
    return bytes;
}

SecureText encode_base64(std::span<const std::byte> bytes) {
    SecureText text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()),
                                       reinterpret_cast<const unsigned char *>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

} // namespace kavro
