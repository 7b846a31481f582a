#pragma once

#include "kavro/src/desktop_command.h"
#include "kavro/src/message.h"

namespace kavro {

/// A command for one desktop. One outside the enumeration is a programming error.
extern const Message<Nothing, std::string_view, eKAVRO_BROKER_DESKTOP_CMD> power_operation_message;

} // namespace kavro
