#pragma once

namespace conversation {

/// Puts the calling process into network and mount namespaces of its own, in which the only name
/// server takes every question and never answers. For a process that will do nothing else.
/// False when the system does not let it.
bool enter_world_with_silent_name_server();

} // namespace conversation
