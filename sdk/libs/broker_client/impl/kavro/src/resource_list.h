#pragma once

#include "kavro/src/desktop_list.h"
#include "kavro/src/message.h"

namespace kavro {

/// The list of desktops; null after a failure. The list keeps the whole document, of which its
/// texts are parts.
extern const Message<DesktopListHandle> resource_list_message;

} // namespace kavro
