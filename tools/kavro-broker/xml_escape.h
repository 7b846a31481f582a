#pragma once

#include <string_view>

namespace kavro_cli {

/// The library places texts into the broker's XML as they are, so whoever lets users type them
/// replaces the characters that mean something there. `Text` is std::string or Secret.
template <class Text>
Text xml_escaped(std::string_view raw) {
    Text escaped;
    for (const char character : raw)
        switch (character) {
        case '&':
            escaped.append("&amp;");
            break;
        case '<':
            escaped.append("&lt;");
            break;
        case '>':
            escaped.append("&gt;");
            break;
        case '"':
            escaped.append("&quot;");
            break;
        case '\'':
            escaped.append("&apos;");
            break;
        default:
            escaped.push_back(character);
        }
    return escaped;
}

} // namespace kavro_cli
