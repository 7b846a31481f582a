#pragma once

#include "transport/post_result.h"

#include <string_view>

namespace kavro {

/// The result id of an answer as the protocol spells it. Empty without one, and for an id that the
/// protocol does not have: that would be the server's own text, which may be anybody's secret.
std::string_view result_id_of(const PostResult &post);

} // namespace kavro
