#pragma once

#include "kavro/src/desktop_list.h"
#include "kavro/src/results.h"
#include "utils/src/secure_text.h"
#include "xml/xml_document.h"

#include <string_view>

namespace kavro {

SecureText resource_list_request(std::string_view protocol_version);

/// Reads the list; null in `list` after a failure. The list keeps the whole document, of which its
/// texts are parts.
BrokerResult read_resource_list(XmlNode message, DesktopListHandle &list);

/// The result id, if it is one of the answer's own.
std::string_view known_list_id(std::string_view id);

} // namespace kavro
