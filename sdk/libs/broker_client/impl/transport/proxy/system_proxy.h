#pragma once

#include "transport/proxy/proxy.h"
#include "utils/src/expected.h"

namespace kavro {

class Waiter;

/// The proxy that this machine is set to use for a server; null for none. Waits for the system no
/// longer than the waiter has patience. A setting that cannot be used is an error.
Expected<ProxyHandle> system_proxy(const Peer &server, Waiter &waiter);

} // namespace kavro
