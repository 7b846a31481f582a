#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kavro_cli {

/// Whether line ends stay what they are or are shown as characters that do not belong there.
enum class Lines { one, many };

/// A text from elsewhere, fit for a terminal: control characters, characters that reorder text and
/// bytes that are no UTF-8 become visible, as in "\x1b" and "\u202e".
std::string visible(std::string_view text, Lines lines = Lines::one);

/// Columns that a visible text takes on a terminal.
std::size_t display_width(std::string_view text);

/// Breaks lines at blanks so that none is wider than `width` unless a single word is.
std::string word_wrapped(std::string_view text, std::size_t width);

} // namespace kavro_cli
