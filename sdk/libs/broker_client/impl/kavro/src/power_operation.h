#pragma once

#include "kavro/src/results.h"
#include "utils/src/secure_text.h"
#include "xml/xml_document.h"

#include <string_view>

namespace kavro {

/// A command outside the enumeration is a programming error.
SecureText power_operation_request(std::string_view protocol_version, std::string_view resource_id,
                                   eKAVRO_BROKER_DESKTOP_CMD command);

BrokerResult read_power_operation(XmlNode message);

/// The result id, if it is one of the answer's own.
std::string_view known_operation_id(std::string_view id);

} // namespace kavro
