#include "xml/xml_encoding.h"

#include "utils/src/ascii.h"
#include "utils/src/broker_log.h"
#include "utils/src/utf8.h"
#include "xml/xml_scan.h"

namespace kavro::xml {

namespace {

enum class Encoding { utf_8, iso_8859_1 };

struct NamedEncoding {
    std::string_view name; ///< compared without regard to case (XML 1.0 section 4.3.3)
    Encoding encoding;
};

constexpr NamedEncoding known_encodings[] = {{"utf-8", Encoding::utf_8},
                                             {"utf8", Encoding::utf_8},
                                             {"us-ascii", Encoding::utf_8}, // a part of it
                                             {"iso-8859-1", Encoding::iso_8859_1}};

/// What the XML declaration says; empty when there is none or it does not say.
std::string_view declared_encoding(const SecureText &text) {
    constexpr std::string_view declaration = "<?xml";
    const char *at = text.data();
    if (text.starts_with(byte_order_mark))
        at += byte_order_mark.size();
    if (!std::string_view(at, text.data() + text.size()).starts_with(declaration))
        return {};
    at = skip_white(at + declaration.size());
    for (RawAttribute attribute; read_attribute(at, attribute) == nullptr; at = skip_white(at)) {
        if (attribute.name == "encoding")
            return attribute.value;
    }
    return {};
}

/// A byte is a character of the same number.
SecureText from_iso_8859_1(std::string_view text) {
    SecureText utf8;
    utf8.reserve(2 * text.size());
    for (const unsigned char c : text)
        utf8::append(utf8, c);
    return utf8;
}

/// Below 0x7F for an ASCII character; a zero counts as none.
constexpr unsigned char rank(char c) {
    return static_cast<unsigned char>(c - 1);
}

constexpr bool is_ascii(char c) {
    return rank(c) < 0x7F;
}

/// From `at` on, the first byte that is not ASCII, or the end. The blocks are there for the
/// compiler, which makes vectors of them: nearly all of nearly every answer is passed there.
const char *skip_ascii(const char *at, const char *end) {
    constexpr std::ptrdiff_t block = 256;
    const auto is_ascii_block = [](const char *bytes) {
        unsigned char highest = 0;
        for (std::ptrdiff_t i = 0; i < block; ++i)
            highest = std::max(highest, rank(bytes[i]));
        return highest < 0x7F;
    };
    while (end - at >= block && is_ascii(*at) && is_ascii_block(at))
        at += block;
    return std::find_if_not(at, end, is_ascii);
}

/// XML 1.0 section 2.2. The index finds the excluded ones that are ASCII.
const char *excluded(std::string_view character) {
    if (character.front() == '\0')
        return "zero byte in text";
    return character == "\xef\xbf\xbe" || character == "\xef\xbf\xbf" ? "excluded character"
                                                                      : nullptr;
}

/// Replaces the bytes that are no character.
const char *repair(SecureText &text, PacedCheckpoint &checkpoint) {
    SecureText repaired;
    const char *const end = text.data() + text.size();
    const char *kept = text.data(); // from here on, the text still has to be copied
    for (const char *at = skip_ascii(kept, end); at != end; at = skip_ascii(at, end)) {
        checkpoint.step();
        const std::size_t size = utf8::character_size({at, end});
        if (const char *reason = size == 0 ? nullptr : excluded({at, size}))
            return reason;
        at += std::max<std::size_t>(size, 1);
        if (size == 0) {
            repaired.append(kept, at - 1).append(utf8::replacement);
            kept = at;
        }
    }
    if (!repaired.empty()) {
        repaired.append(kept, end);
        text = std::move(repaired);
    }
    return nullptr;
}

} // namespace

const char *make_utf8(SecureText &text, PacedCheckpoint &checkpoint) {
    constexpr std::size_t longest_shown = 40;
    const std::string_view declared = declared_encoding(text);
    const auto known = std::ranges::find_if(known_encodings, [declared](const auto &encoding) {
        return ascii::equal_ignoring_case(encoding.name, declared);
    });
    if (known == std::end(known_encodings) && !declared.empty()) {
        log_error("The XML declares an encoding that cannot be read: %s",
                  printable(declared.substr(0, longest_shown)).c_str());
        return "unknown encoding";
    }
    if (!declared.empty() && known->encoding == Encoding::iso_8859_1)
        text = from_iso_8859_1(text);
    return repair(text, checkpoint);
}

} // namespace kavro::xml
