#include "xml/xml_scan.h"

#include "utils/src/utf8.h"

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

/// XML 1.0 section 2.2.
constexpr bool is_character(std::uint32_t number) {
    return number == '\t' || number == '\n' || number == '\r' ||
           (number >= 0x20 && number < 0xD800) || (number >= 0xE000 && number < 0xFFFE) ||
           (number >= 0x10000 && number <= 0x10FFFF);
}

/// "&#65;" or "&#x41;".
Reference read_number(const char *ampersand) {
    const bool hexadecimal = ampersand[2] == 'x';
    const char *const digits = ampersand + (hexadecimal ? 3 : 2);
    Reference reference;
    reference.character = 0;
    const auto [end, error] = std::from_chars(digits, digits + std::strcspn(digits, ";"),
                                              reference.character, hexadecimal ? 16 : 10);
    if (*end != ';')
        reference.error = "expected ;";
    else if (error != std::errc() || !is_character(reference.character))
        reference.error = "invalid numeric character entity";
    reference.size = static_cast<std::size_t>(end + 1 - ampersand);
    return reference;
}

} // namespace

Reference read_reference(const char *ampersand) {
    if (ampersand[1] == '#')
        return read_number(ampersand);
    for (const auto &[reference, character] : named_characters) {
        if (ampersand[1] == reference[1] &&
            std::strncmp(ampersand, reference.data(), reference.size()) == 0)
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
    const char quote = *at;
    const char *const value = ++at;
    at = find(at, quote == '"' ? ends_quoted : ends_apostrophised);
    if (*at != quote)
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
        utf8::append(out, reference.character);
        raw.remove_prefix(reference.size);
    }
}

} // namespace kavro::xml
