#include "transport/xml_document.h"
#include "fuzzing.h"
#include "second_xml_reader.h"

#include <algorithm>
#include <string>

// A document that is read stands no deeper than the limit, another parser reads the same in it, and
// what is written of it reads back as the same.

namespace {

using namespace kavro;

int height(XmlNode element) {
    int most = 0;
    for (XmlNode child = element.child(); child; child = child.next())
        most = std::max(most, height(child));
    return most + 1;
}

std::string written(XmlNode root) {
    std::string text;
    if (root)
        append_xml(text, root);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string bytes(fuzz::as_text(data, size));
    std::string error;
    const auto document = XmlDocument::parse(SecureText(bytes), error);
    fuzz::promise(document != nullptr || !error.empty(), "a refusal has its reason");
    if (document == nullptr)
        return 0;
    fuzz::promise(!document->root() || height(document->root()) <= XmlDocument::max_nesting,
                  "not too deep");
    const std::string text = written(document->root());
    fuzz::promise(fuzz::second_reading(bytes) == text, "another parser reads the same");
    const auto again = XmlDocument::parse(SecureText(text), error);
    fuzz::promise(again != nullptr && written(again->root()) == text, "reads back as the same");
    return 0;
}
