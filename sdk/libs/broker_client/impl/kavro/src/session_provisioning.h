#pragma once

#include "kavro/src/answer.h"
#include "transport/tls_exchange.h"
#include "utils/src/secure_text.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

// Some brokers do not name an allocated target themselves: they name a provisioning server, which
// is asked for it on a connection of its own.

namespace kavro {

/// The provisioning server, as the broker describes it.
struct Provisioner {
    std::string scheme;
    std::string address;
    std::string port;
    std::string leaf_certificate; ///< PEM or base64 of DER: the one that the server must show
    std::string gateway_ticket;
};

/// Reads a `provision-info`.
MissingTag read_provisioner(XmlNode provision_info, Provisioner &provisioner);

/// What the provisioning server is told.
struct SessionProvision {
    std::string_view jsessionid{}; ///< by which the broker knows this client
    std::string_view gateway_ticket{};
    std::string_view request_id{};
    std::string_view time_zone{};
    std::string_view locale{};
};

/// The request as it is sent, head and body.
SecureText session_provision_request(std::string_view address, const SessionProvision &content);

/// TLS as provisioning servers expect it: these options and no others, and whoever answers is
/// accepted. The broker's word for the certificate is what counts.
boost::asio::ssl::context provisioning_tls();

class SessionProvisioning;

/// Through this another thread cancels a provisioning. A cancel that comes first, while the request
/// that leads to the provisioning is still under way, ends it as soon as it starts.
class ProvisioningCancel {
public:
    /// A new request begins: nobody has cancelled it yet.
    void reset();
    void cancel();

private:
    friend class SessionProvisioning;

    void attach(SessionProvisioning *provisioning);

    std::mutex mutex_; ///< nothing is logged while it is held
    SessionProvisioning *running_ = nullptr;
    bool cancelled_ = false;
};

/// One attempt to get a target from a provisioning server.
class SessionProvisioning {
public:
    /// Reads a good answer.
    using ReadTarget = std::function<BrokerResult(XmlNode session_provision_resp)>;

    SessionProvisioning(Provisioner provisioner, ProvisioningCancel &cancel,
                        std::chrono::milliseconds timeout);
    ~SessionProvisioning() { cancel_.attach(nullptr); }
    SessionProvisioning(const SessionProvisioning &) = delete;
    SessionProvisioning &operator=(const SessionProvisioning &) = delete;

    /// Asks the server and waits for its answer, up to the time-out. The ticket is the
    /// provisioner's.
    BrokerResult run(SessionProvision content, const ReadTarget &read_target);

private:
    friend class ProvisioningCancel;

    std::shared_ptr<const XmlDocument> ask(const SessionProvision &content);
    void check_certificate();
    BrokerResult failed(const char *reason) const;

    const Provisioner provisioner_;
    ProvisioningCancel &cancel_;
    boost::asio::ssl::context tls_ = provisioning_tls();
    TlsExchange exchange_;
};

} // namespace kavro
