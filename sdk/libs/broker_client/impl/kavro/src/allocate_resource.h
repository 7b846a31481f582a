#pragma once

#include "kavro/src/hello.h"
#include "kavro/src/results.h"
#include "utils/src/secure_text.h"
#include "xml/xml_document.h"

#include <functional>
#include <string_view>

namespace kavro {

SecureText allocate_resource_request(std::string_view protocol_version,
                                     const ClientIdentity &identity, std::string_view resource_id,
                                     const Variables &agent_variables);

/// Who reads the answer, for the log.
inline constexpr const char *allocation_handler = "Desktop connection handler";

/// Asks the provisioning server that the broker names in place of a target.
using Provision = std::function<BrokerResult(XmlNode provision_info)>;

/// Reads an allocation answer and the target in it, whose address may be a host name still. Where
/// the answer names a provisioning server, the result is that of `provision`.
BrokerResult read_allocation(XmlNode message, std::string_view protocol_version,
                             const Provision &provision, cDESKTOP_CONNECTION_RESULT &connection);

/// Reads the target out of an element that is known to hold one.
BrokerResult read_target(XmlNode message, std::string_view protocol_version,
                         cDESKTOP_CONNECTION_RESULT &connection);

/// The result id, if it is one of the answer's own.
std::string_view known_allocation_id(std::string_view id);

} // namespace kavro
