#pragma once

#include <cstddef>
#include <optional>
#include <string>

// Small files of the library's own, in places that others may write to as well.

namespace kavro {

/// The whole file; nothing when it is missing, longer than `limit`, or no plain file (a link, a
/// pipe or a folder is neither followed nor waited for).
std::optional<std::string> read_plain_file(const std::string &path, std::size_t limit);

/// Replaces the file in one step: whoever reads it, and whatever happens in between, sees the old
/// content or the new. Only its owner may read it. False, with the old file left alone, on failure.
bool replace_file(const std::string &path, const std::string &content);

} // namespace kavro
