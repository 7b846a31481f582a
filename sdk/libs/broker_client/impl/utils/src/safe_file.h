#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

// Small files of our own, in places that others may write to as well.

namespace kavro {

/// The whole file; nothing when it is missing, longer than `limit`, or no plain file (a link, a
/// pipe or a folder is neither followed nor waited for).
std::optional<std::string> read_plain_file(const std::string &path, std::size_t limit);

/// Replaces the file, or a link of its name, in one step: a reader sees the old content or the new,
/// whatever happens in between. Only its owner may read it. A failure leaves the old file alone.
[[nodiscard]] std::error_code replace_file(const std::string &path, std::string_view content);

} // namespace kavro
