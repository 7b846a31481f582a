#pragma once

#include "kavro/src/hello.h"
#include "kavro/src/results.h"
#include "transport/xml_document.h"
#include "utils/src/secure_text.h"

#include <string_view>

namespace kavro {

SecureText allocate_resource_request(std::string_view protocol_version,
                                     const ClientIdentity &identity, std::string_view resource_id,
                                     const Variables &agent_variables);

/// Reads the target out of an allocation answer. Its address may be a host name still.
BrokerResult read_allocation(XmlNode message, std::string_view protocol_version,
                             cDESKTOP_CONNECTION_RESULT &connection);

/// Reads the target out of an element that is known to hold one.
BrokerResult read_target(XmlNode message, std::string_view protocol_version,
                         cDESKTOP_CONNECTION_RESULT &connection);

} // namespace kavro
