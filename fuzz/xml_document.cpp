#include "fuzzing.h"
#include "utils/src/utf8.h"
#include "xml/xml_encoding.h"
#include "xml_reading.h"

// A document that is read stands no deeper than the limit, another parser reads the same in it, and
// what is written of it reads back as the same.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using kavro::SecureText, kavro::XmlDocument;
    const std::string bytes(fuzz::as_text(data, size));
    std::string error;
    const auto document = XmlDocument::parse(SecureText(bytes), error);
    SecureText utf8(bytes);
    kavro::PacedCheckpoint unused;
    kavro::xml::make_utf8(utf8, unused);
    fuzz::promise(document != nullptr || !error.empty(), "a refusal has its reason");
    if (document == nullptr)
        return 0;
    const auto root = document->root();
    fuzz::promise(!root || fuzz::height(root) <= XmlDocument::max_nesting, "not too deep");
    const std::string text = fuzz::written(root);
    fuzz::promise(fuzz::second_reading(std::string(utf8)) == text, "another parser reads the same");
    for (std::string_view rest = text; !rest.empty();) {
        const auto character = kavro::utf8::character_size(rest);
        fuzz::promise(character != 0 && rest[0] != '\0', "handed out as UTF-8 without zeros");
        rest.remove_prefix(character);
    }
    const auto again = XmlDocument::parse(SecureText(text), error);
    fuzz::promise(again != nullptr && fuzz::written(again->root()) == text, "reads back");
    return 0;
}
