#pragma once

#include "xml/xml_document.h"

#include <string>

namespace kavro {

enum class MessageDirection { sending = 0, received = 1 };

/// The text under which a message stands in the log: indented, every secret masked.
///
/// - A message with a user name or a password shows nothing but the masked elements of that kind.
/// - An element marked do-not-log, or known to carry a token, shows "*****" for its content.
/// - A received connect tag shows its last 12 characters only, enough to tell two apart.
/// - A message without a single known element, or none at all, shows "Protected Info *****".
std::string masked_message(XmlNode root, MessageDirection direction);

/// Whether anybody will see messages; else nothing needs to be read or written for log_message().
bool messages_are_logged();

/// Logs a message under its direction's banner. `root` is none for a text that could not be read.
void log_message(XmlNode root, MessageDirection direction);

} // namespace kavro
