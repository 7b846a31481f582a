#include "fuzzing.h"
#include "utils/src/broker_utils.h"
#include "xml/xml_document.h"

#include <string>

// Any text, escaped for XML, holds none of the special characters and reads back as it was.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using kavro::SecureText, kavro::XmlDocument;
    const auto text = fuzz::as_text(data, size);
    const std::string escaped = kavro::escape_xml(text);
    fuzz::promise(escaped.find_first_of("<>\"'") == escaped.npos, "no special character is left");
    if (text.find('\0') != text.npos)
        return 0; // stands in no document
    std::string error;
    const auto element = XmlDocument::parse(SecureText("<x>" + escaped + "</x>"), error);
    fuzz::promise(element != nullptr && element->root().text() == text, "an element reads back");
    const auto value = XmlDocument::parse(SecureText("<x a='" + escaped + "'/>"), error);
    fuzz::promise(value != nullptr && value->root().attribute("a") == text, "a value reads back");
    return 0;
}
