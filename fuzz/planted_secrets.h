#pragma once

#include "xml/xml_document.h"

#include <string>
#include <string_view>

namespace fuzz {

#define SECRET "k4n4r1-v0g3l"
inline constexpr std::string_view telling_part = "r1-v0g3l";

/// Elements that are not to be shown, and the name of the one in which the secret stands.
struct PlantedSecret {
    const char *name;
    const char *text;
};

inline constexpr PlantedSecret secrets[] = {
    {"password", "<password>" SECRET "</password>"},
    {"k:UserName", "<k:UserName a='1'>" SECRET "</k:UserName>"},
    {"text", "<text do-not-log='TRUE'>" SECRET "</text>"},
    {"x", "<token do-not-log=\"true\"><x>" SECRET "</x></token>"},
    {"y", "<oauth-code>code<y>" SECRET "</y></oauth-code>"},
    {"connect-tag", "<connect-tag>" SECRET "0123456789ab</connect-tag>"},
    {"JSESSIONID", "<JSESSIONID><![CDATA[" SECRET "]]></JSESSIONID>"},
};

#undef SECRET

/// Planted inside a comment, a value or another text it is no such element.
inline bool has_planted(kavro::XmlNode element, std::string_view name) {
    bool found = element.name() == name && element.text().find(telling_part) != std::string::npos;
    for (kavro::XmlNode child = element.child(); child && !found; child = child.next())
        found = has_planted(child, name);
    return found;
}

} // namespace fuzz
