#include "fuzzing.h"
#include "xml_reading.h"

// A document that is read stands no deeper than the limit, another parser reads the same in it, and
// what is written of it reads back as the same.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using kavro::SecureText, kavro::XmlDocument;
    const std::string bytes(fuzz::as_text(data, size));
    std::string error;
    const auto document = XmlDocument::parse(SecureText(bytes), error);
    fuzz::promise(document != nullptr || !error.empty(), "a refusal has its reason");
    if (document == nullptr)
        return 0;
    const auto root = document->root();
    fuzz::promise(!root || fuzz::height(root) <= XmlDocument::max_nesting, "not too deep");
    const std::string text = fuzz::written(root);
    fuzz::promise(fuzz::second_reading(bytes) == text, "another parser reads the same");
    const auto again = XmlDocument::parse(SecureText(text), error);
    fuzz::promise(again != nullptr && fuzz::written(again->root()) == text, "reads back");
    return 0;
}
