#pragma once

#include "kavro/src/session_provision.h"

#include <chrono>
#include <mutex>

// Some brokers do not name an allocated target themselves: they name a provisioning server, which
// is asked for it on a connection of its own.

namespace boost::asio::ssl {
class context;
}

namespace kavro {

class TlsExchange;

/// TLS as provisioning servers expect it: these options and no others, and whoever answers is
/// accepted. The broker's word for the certificate is what counts.
boost::asio::ssl::context provisioning_tls();

/// Through this another thread cancels a provisioning. A cancel that comes first, while the request
/// that leads to the provisioning is still under way, ends it as soon as it starts.
class ProvisioningCancel {
public:
    /// A new request begins: nobody has cancelled it yet.
    void reset();
    void cancel();

    /// What a cancel ends from now on; null for nothing.
    void attach(TlsExchange *running);

private:
    std::mutex mutex_; ///< nothing is logged while it is held
    TlsExchange *running_ = nullptr;
    bool cancelled_ = false;
};

/// Asks a provisioning server for the target and waits for its answer, up to the time-out. The
/// gateway ticket of the request is the provisioner's.
BrokerResult provision_session(const Provisioner &provisioner, SessionProvision content,
                               ProvisioningCancel &cancel, std::chrono::milliseconds timeout,
                               std::string_view protocol_version,
                               cDESKTOP_CONNECTION_RESULT &connection);

} // namespace kavro
