#include "json_writer.h"

#include <algorithm>

namespace kavro {

namespace {

/// How many bytes the well-formed character at the start of `text` has (RFC 3629); 0 for none.
std::size_t character_size(std::string_view text) {
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

} // namespace

void JsonWriter::separate() {
    if (!out_.empty() && std::string_view("{[:").find(out_.back()) == std::string_view::npos)
        out_ += ',';
}

void JsonWriter::open(char bracket) {
    separate();
    out_ += bracket;
}

void JsonWriter::append_quoted(std::string_view text) {
    constexpr const char *digits = "0123456789abcdef";
    out_ += '"';
    while (!text.empty()) {
        const std::size_t size = character_size(text);
        const auto first = static_cast<unsigned char>(text[0]);
        if (size == 0)
            out_ += "\\ufffd";
        else if (first < 0x20 || first == 0x7F)
            out_.append("\\u00").append({digits[first >> 4], digits[first & 15]});
        else if (first == '"' || first == '\\')
            out_.append({'\\', text[0]});
        else
            out_ += text.substr(0, size);
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    out_ += '"';
}

JsonWriter &JsonWriter::name(std::string_view name) {
    separate();
    append_quoted(name);
    out_ += ':';
    return *this;
}

void JsonWriter::text(std::string_view value) {
    separate();
    append_quoted(value);
}

void JsonWriter::text_or_null(std::string_view value) {
    value.empty() ? null() : text(value);
}

void JsonWriter::number(std::uint64_t value) {
    separate();
    out_ += std::to_string(value);
}

void JsonWriter::boolean(bool value) {
    separate();
    out_ += value ? "true" : "false";
}

void JsonWriter::null() {
    separate();
    out_ += "null";
}

} // namespace kavro
