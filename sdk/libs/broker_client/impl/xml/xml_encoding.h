#pragma once

#include "utils/src/checkpoint.h"
#include "utils/src/secure_text.h"

namespace kavro::xml {

/// Makes a document's text UTF-8 without zero bytes. ISO-8859-1, when declared, is converted; bytes
/// that are no character become U+FFFD.
///
/// @return null, or why the text cannot be read: a constant text. An encoding that is not known is
///         named in the log.
const char *make_utf8(SecureText &text, PacedCheckpoint &checkpoint);

} // namespace kavro::xml
