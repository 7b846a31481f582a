#pragma once

#include "kavro/src/message.h"

namespace kavro {

/// The good-bye. Its answer is not read: the user has left, whatever the broker says.
inline constexpr Message<Nothing> logout_message = {
    .element = "bye",
    .completion = "cKAVRO_BROKER_CLIENT::handle_do_logout",
};

} // namespace kavro
