#pragma once

#include <string>
#include <string_view>

namespace kavro_cli {

/// Never the only bearer of a meaning: the words are the same without it.
enum class Colour { none, red, green, yellow };

/// A text as a terminal shows it in a colour; the text itself when `enabled` is false.
std::string painted(std::string_view text, Colour colour, bool enabled);

/// How a state or the health of a desktop is shown. Words that are not known have no colour.
Colour colour_of(std::string_view word);

} // namespace kavro_cli
