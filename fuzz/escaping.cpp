#include "fuzzing.h"
#include "utils/src/ascii.h"
#include "utils/src/broker_utils.h"
#include "utils/src/utf8.h"
#include "xml/xml_document.h"

#include <string>

// Any text, escaped for XML, holds none of the special characters and reads back as it was.

namespace {

/// Whether a document may hold the text as it is (XML 1.0 section 2.2); one that may not is refused
/// or mended.
bool stands_in_xml(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = kavro::utf8::character_size(text);
        const std::string_view character = text.substr(0, size);
        if (size == 0 || kavro::ascii::is_control(text.front()) || character == "\xef\xbf\xbe" ||
            character == "\xef\xbf\xbf")
            return false;
        text.remove_prefix(size);
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using kavro::SecureText, kavro::XmlDocument;
    const auto text = fuzz::as_text(data, size);
    const std::string escaped = kavro::escape_xml(text);
    fuzz::promise(escaped.find_first_of("<>\"'") == escaped.npos, "no special character is left");
    if (!stands_in_xml(text))
        return 0;
    std::string error;
    const auto element = XmlDocument::parse(SecureText("<x>" + escaped + "</x>"), error);
    fuzz::promise(element != nullptr && element->root().text() == text, "an element reads back");
    const auto value = XmlDocument::parse(SecureText("<x a='" + escaped + "'/>"), error);
    fuzz::promise(value != nullptr && value->root().attribute("a") == text, "a value reads back");
    return 0;
}
