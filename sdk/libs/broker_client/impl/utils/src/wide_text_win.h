#pragma once

#include <string>
#include <string_view>

// Windows takes and gives texts in UTF-16, this library in UTF-8.

namespace kavro {

std::string to_utf8(std::wstring_view text);

/// Empty for a text that is not UTF-8.
std::wstring to_wide(std::string_view text);

} // namespace kavro
