#pragma once

#include <string_view>

namespace kavro {

/// Checks, without recursion, that a text's tags are plain enough to be counted and never stand
/// more than `limit` deep. The parser behind XmlDocument descends recursively, so nothing reaches
/// it that has not passed here.
///
/// @return null when the text may be parsed, else the reason why not, a constant text.
const char *check_xml_nesting(std::string_view text, int limit);

} // namespace kavro
