#include "fuzzing.h"
#include "transport/xml_message_log.h"

#include <string>

// A secret that is planted in a message, wherever and in whatever company, is not in its log text.

namespace {

using namespace kavro;

#define SECRET "k4n4r1-v0g3l"
constexpr std::string_view telling_part = "r1-v0g3l";

constexpr struct {
    const char *name;
    const char *text;
} secrets[] = {
    {"password", "<password>" SECRET "</password>"},
    {"k:UserName", "<k:UserName a='1'>" SECRET "</k:UserName>"},
    {"text", "<text do-not-log='TRUE'>" SECRET "</text>"},
    {"x", "<token do-not-log=\"true\"><x>" SECRET "</x></token>"},
    {"y", "<oauth-code>code<y>" SECRET "</y></oauth-code>"},
    {"connect-tag", "<connect-tag>" SECRET "0123456789ab</connect-tag>"},
    {"JSESSIONID", "<JSESSIONID><![CDATA[" SECRET "]]></JSESSIONID>"},
};

/// Planted inside a comment, a value or another text it is no such element.
bool has_planted(XmlNode element, std::string_view name) {
    bool found = element.name() == name && element.text().find(SECRET) != std::string::npos;
    for (XmlNode child = element.child(); child && !found; child = child.next())
        found = has_planted(child, name);
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto &[name, element] = input.PickValueInArray(secrets);
    const auto place = input.ConsumeIntegral<std::uint16_t>();
    std::string text = input.ConsumeRemainingBytesAsString();
    const bool already_there = text.find(telling_part) != std::string::npos;
    text.insert(place % (text.size() + 1), element);

    std::string error;
    const auto document = XmlDocument::parse(SecureText(text), error);
    if (already_there || !document || !document->root() || !has_planted(document->root(), name))
        return 0;
    const auto shown = masked_message(document->root(), MessageDirection::received);
    fuzz::promise(shown.find(telling_part) == shown.npos, "masked");
    return 0;
}
