#pragma once

#include "utils/src/secure_text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kavro {

/// What a base64 text (RFC 4648 section 4) stands for, line ends and blanks allowed; nothing when
/// it is none.
std::optional<std::vector<std::uint8_t>> decode_base64(std::string_view text);

/// The bytes, which may be a secret, as base64 text without line ends.
SecureText encode_base64(std::span<const std::byte> bytes);

} // namespace kavro
