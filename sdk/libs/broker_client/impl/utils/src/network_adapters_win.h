#pragma once

#include "utils/src/client_identity.h"

struct _IP_ADAPTER_INFO;

namespace kavro {

/// GetAdaptersInfo(), or what stands in for it.
using AdaptersInfo = unsigned long(__stdcall *)(_IP_ADAPTER_INFO *first, unsigned long *size);

/// What list_network_adapters() answers when the system answers so.
std::optional<std::vector<NetworkAdapter>> list_network_adapters(AdaptersInfo adapters_info);

} // namespace kavro
