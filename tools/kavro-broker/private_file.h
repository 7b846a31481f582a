#pragma once

#include <string>
#include <string_view>

namespace kavro_cli {

/// Puts a file that only its owner can read in the place of `path`: whole, or not at all. Throws a
/// std::system_error when that is not possible.
void write_private_file(const std::string &path, std::string_view content);

} // namespace kavro_cli
