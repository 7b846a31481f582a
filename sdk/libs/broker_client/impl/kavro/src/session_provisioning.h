#pragma once

#include "kavro/src/session_provision.h"
#include "transport/route.h"
#include "utils/src/openssl_types.h"

#include <chrono>

// Some brokers do not name an allocated target themselves: they name a provisioning server, which
// is asked for it on a connection of its own.

namespace kavro {

class Waiter;

/// TLS as provisioning servers expect it: these options and no others, and whoever answers is
/// accepted. The broker's word for the certificate is what counts.
SslContextHandle provisioning_tls();

/// Asks a provisioning server on that way for the target and waits for its answer, up to the
/// time-out. The gateway ticket of the request is the provisioner's. A cancel of the waiter's ends
/// it.
BrokerResult provision_session(const Provisioner &provisioner, SessionProvision content,
                               Route route, Waiter &waiter, std::chrono::milliseconds timeout,
                               std::string_view protocol_version,
                               cDESKTOP_CONNECTION_RESULT &connection);

} // namespace kavro
