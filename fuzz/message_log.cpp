#include "fuzzing.h"
#include "planted_secrets.h"
#include "xml/xml_message_log.h"

#include <string>

// A secret that is planted in a message, wherever and in whatever company, is not in its log text.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    fuzz::Input input(data, size);
    const auto &[name, element] = input.PickValueInArray(fuzz::secrets);
    const auto place = input.ConsumeIntegral<std::uint16_t>();
    std::string text = input.ConsumeRemainingBytesAsString();
    const bool already_there = text.find(fuzz::telling_part) != std::string::npos;
    text.insert(place % (text.size() + 1), element);

    std::string error;
    const auto document = XmlDocument::parse(SecureText(text), error);
    if (already_there || !document || !document->root() ||
        !fuzz::has_planted(document->root(), name))
        return 0;
    const auto shown = masked_message(document->root(), MessageDirection::received);
    fuzz::promise(shown.find(fuzz::telling_part) == shown.npos, "masked");
    return 0;
}
