#include "json_writer.h"

#include "utils/src/ascii.h"
#include "utils/src/utf8.h"

#include <algorithm>

namespace kavro {

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
        const std::size_t size = utf8::character_size(text);
        const char first = text[0];
        if (size == 0)
            out_ += "\\ufffd";
        else if (ascii::is_control(first))
            out_.append("\\u00").append({digits[first >> 4], digits[first & 15]});
        else if (first == '"' || first == '\\')
            out_.append({'\\', first});
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
