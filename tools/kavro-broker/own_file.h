#pragma once

#include "failure.h"

#include <fmt/format.h>

#include <cstddef>
#include <memory>
#include <string>

// Files that decide something, so that nobody but the user may have written them.

namespace kavro_cli {

inline constexpr std::size_t longest_own_file = 1024 * 1024;

inline Failure unfit_file(const std::string &path, const char *doubt) {
    return {ExitStatus::usage, "UNFIT_FILE", fmt::format("{} is not used: it {}.", path, doubt)};
}

/// The whole file; empty when there is none. Throws a Failure for one that others may write to, or
/// that is no plain file of the user's: a link is not followed.
std::string read_own_file(const std::string &path);

/// Waits until nobody else holds the lock, in this process or another, and keeps it for as long as
/// the result lives. The file stays behind, because somebody may be waiting for it.
std::shared_ptr<void> lock_file(const std::string &path);

} // namespace kavro_cli
