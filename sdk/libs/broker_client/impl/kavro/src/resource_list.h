#pragma once

#include "kavro/src/results.h"
#include "transport/xml_document.h"
#include "utils/src/secure_text.h"

#include <map>
#include <string>
#include <string_view>

namespace kavro {

/// The desktops that the broker last listed, by resource id.
using KnownDesktops = std::map<std::string, cDESKTOP_LIST_RESULT>;

SecureText resource_list_request(std::string_view protocol_version);

/// Fills the table. Of several desktops with one id the last counts. After a failure the table may
/// hold those that were read before it.
BrokerResult read_resource_list(XmlNode message, KnownDesktops &known);

} // namespace kavro
