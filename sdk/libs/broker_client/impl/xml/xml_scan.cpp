#include "xml/xml_scan.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace kavro::xml {

namespace {

struct NamedCharacter {
    std::string_view reference;
    char character;
};

constexpr NamedCharacter named_characters[] = {
    {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};

constexpr std::uint32_t last_character = 0x10FFFF;

/// "&#65;" or "&#x41;".
Reference read_number(const char *ampersand) {
    const bool hexadecimal = ampersand[2] == 'x';
    const char *const digits = ampersand + (hexadecimal ? 3 : 2);
    Reference reference;
    reference.character = 0;
    const auto [end, error] = std::from_chars(digits, digits + std::strcspn(digits, ";"),
                                              reference.character, hexadecimal ? 16 : 10);
    if (error == std::errc::result_out_of_range || reference.character > last_character)
        reference.error = "invalid numeric character entity";
    else if (*end != ';')
        reference.error = "expected ;";
    reference.size = static_cast<std::size_t>(end + 1 - ampersand);
    return reference;
}

/// RFC 3629 section 3.
void append_utf8(std::string &out, std::uint32_t character) {
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

} // namespace

Reference read_reference(const char *ampersand) {
    if (ampersand[1] == '#')
        return read_number(ampersand);
    for (const auto &[reference, character] : named_characters) {
        if (std::strncmp(ampersand, reference.data(), reference.size()) == 0)
            return {reference.size(), static_cast<std::uint32_t>(character), nullptr};
    }
    return {};
}

const char *read_attribute(const char *&at, RawAttribute &attribute) {
    const char *const name = at;
    at = find(at, ends_name);
    if (at == name)
        return "expected attribute name";
    attribute.name = {name, at};
    at = skip_white(at);
    if (*at != '=')
        return "expected =";
    at = skip_white(at + 1);
    if (*at != '"' && *at != '\'')
        return "expected ' or \"";
    const Stop stop = *at == '"' ? ends_quoted : ends_apostrophised;
    const char *const value = ++at;
    at = find(at, stop);
    if (*at == '\0')
        return "expected ' or \"";
    attribute.value = {value, at};
    ++at;
    return nullptr;
}

void append_decoded(std::string &out, std::string_view raw, PacedCheckpoint &checkpoint) {
    for (;; checkpoint.step()) {
        const auto plain = std::min(raw.find('&'), raw.size());
        out += raw.substr(0, plain);
        raw.remove_prefix(plain);
        if (raw.empty())
            return;
        const Reference reference = read_reference(raw.data());
        append_utf8(out, reference.character);
        raw.remove_prefix(reference.size);
    }
}

} // namespace kavro::xml
