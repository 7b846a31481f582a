#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace kavro {

/// What a base64 text (RFC 4648 section 4) stands for, line ends and blanks allowed; nothing when
/// it is none.
std::optional<std::vector<std::uint8_t>> decode_base64(std::string_view text);

} // namespace kavro
