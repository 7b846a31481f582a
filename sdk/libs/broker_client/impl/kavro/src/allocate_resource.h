#pragma once

#include "kavro/src/hello.h"
#include "kavro/src/session_provision.h"

#include <optional>

namespace kavro {

/// The target that a desktop waits at, or the server that is to be asked for it. The target's
/// address may be a host name still.
struct Allocation {
    cDESKTOP_CONNECTION_RESULT connection;
    std::optional<Provisioner> provisioner;
};

/// The desktop's id, and the variables for its agent.
extern const Message<Allocation, const ClientIdentity &, std::string_view, const Variables &>
    allocate_resource_message;

/// Reads the target out of an element that is known to hold one.
BrokerResult read_target(XmlNode message, std::string_view protocol_version,
                         cDESKTOP_CONNECTION_RESULT &connection);

} // namespace kavro
