#pragma once

#include "kavro/src/desktop_list.h"
#include "kavro/src/results.h"
#include "transport/connection_report.h"
#include "transport/proxy/proxy.h"
#include "trust/client_signing.h"
#include "trust/key_pins.h"
#include "trust/trust_store.h"
#include "utils/src/cert_chain.h"

#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace kavro {

/// The log identifier of a client that has never been connected; the next connection makes a new
/// one.
inline constexpr const char *nil_uuid = "00000000-0000-0000-0000-000000000000";

/// How long the steps of a request may take. An allocation has its own time.
struct TimeLimits {
    std::chrono::milliseconds connect{30000};        ///< look-up, all addresses, TLS: together
    std::chrono::milliseconds request{30000};        ///< a post of the usual messages
    std::chrono::milliseconds authentication{40000}; ///< a post of the messages of a log-in
    std::chrono::milliseconds provisioning{180000};  ///< the whole provisioning exchange
};

/// Where a connection goes and who makes it.
struct ConnectionRequest {
    std::string address; ///< a URL, or a registration code
    std::string port;    ///< where the code's address names none
    std::string product_name;
    std::string product_version;
    std::string platform;
    std::string locale;
    std::string time_zone; ///< Windows key name; empty for the machine's own
    bool fail_if_unverified = true;
    bool is_registration_code = false;
    TimeLimits limits; ///< of the connection, and of what is done on it
    /// A connection that release_connection() kept serves when it was idle for less than this.
    std::chrono::steady_clock::duration most_idle{0};
    ProxyHandle proxy; ///< the way there
    /// What becomes of the connection, as far as the client tells.
    std::shared_ptr<ConnectionReport> report = std::make_shared<ConnectionReport>();
};

/// The broker's certificates as it showed them; the rest is set when they were not accepted.
struct CertResult {
    Security::cX509_CERT_CHAIN certificates;
    std::vector<std::uint32_t> errors; ///< by depth
    std::string host;
    std::string error_text;
    bool connected_securely = false;
};

using LogoutHandler = std::function<void(const BrokerResult &)>;
using ConnectionHandler = std::function<void(const BrokerResult &, CertResult)>;
using HelloHandler = std::function<void(const BrokerResult &, HelloResult, cAUTH_RESULT)>;
using AuthHandler = std::function<void(const BrokerResult &, cAUTH_RESULT)>;
using DesktopListHandler = std::function<void(const BrokerResult &, DesktopListHandle)>;
using AllocationHandler = std::function<void(const BrokerResult &, cDESKTOP_CONNECTION_RESULT)>;
using OperationHandler = std::function<void(const BrokerResult &, eKAVRO_BROKER_DESKTOP_CMD)>;

/// One conversation with one broker, of whatever kind.
///
/// Every operation returns at once and completes through its handler exactly once, inside run_io()
/// on the thread that calls it. Texts that are passed as views are needed during the call only, so
/// that no copy of a secret is kept. One operation at a time; only cancel() may come from another
/// thread.
///
/// The order of the operations is part of the contract with plug-ins. A plug-in exports, without
/// C++ decoration, `iBROKER_CLIENT *CreateViewBrokerClient()`, which may throw or return null, and
/// `void DeleteViewBrokerClient(iBROKER_CLIENT *)`, through which all that it made goes back to it.
class iBROKER_CLIENT {
public:
    virtual ~iBROKER_CLIENT() = default;

    /// The four-character code of this kind of client.
    virtual std::uint32_t get_variant() const = 0;
    /// False when the request could not be started; the handler may then never be called.
    virtual bool connect_to_broker(const ConnectionRequest &request, ConnectionHandler handler) = 0;
    /// Drops the connection without a word to the broker.
    virtual std::uint32_t clear_session() = 0;
    /// The same, unless the connection can be kept for the next connect_to_broker().
    virtual void release_connection() { clear_session(); }
    virtual void do_hello(const Variables &client_variables, HelloHandler handler) = 0;
    virtual void get_authentication_method(AuthHandler handler) = 0;
    virtual void authenticate_password(std::string_view user_name, std::string_view password,
                                       std::string_view domain, AuthHandler handler) = 0;
    virtual void authenticate_dialog(std::span<const DialogAnswer> fields,
                                     std::string_view button_id, AuthHandler handler) = 0;
    virtual void authenticate_oauth(std::string_view code, AuthHandler handler) = 0;
    virtual void authenticate_securid(std::string_view user_name, std::string_view passcode,
                                      AuthHandler handler) = 0;
    virtual void authenticate_securid_token(std::string_view token, AuthHandler handler) = 0;
    virtual void change_securid_pin(std::string_view token, std::string_view new_pin,
                                    std::string_view new_pin_again, AuthHandler handler) = 0;
    virtual void wait_for_securid(AuthHandler handler) = 0;
    virtual void accept_disclaimer(bool accept, AuthHandler handler) = 0;
    virtual void update_password(std::string_view user_name, std::string_view old_password,
                                 std::string_view new_password, std::string_view domain,
                                 AuthHandler handler) = 0;
    virtual void confirm_certificate(bool accept, AuthHandler handler) = 0;
    virtual void get_resource_list(DesktopListHandler handler) = 0;
    virtual void allocate_resource(std::string_view resource_id, const Variables &agent_variables,
                                   AllocationHandler handler,
                                   std::chrono::milliseconds timeout) = 0;
    virtual void perform_operation(std::string_view resource_id, eKAVRO_BROKER_DESKTOP_CMD command,
                                   OperationHandler handler) = 0;
    virtual void do_logout(LogoutHandler handler) = 0;

    virtual void set_signing_function(SigningFunction sign) = 0;
    /// False for a certificate that cannot be signed for.
    virtual bool set_client_certificate(X509Handle certificate) = 0;
    /// The same for certificates, the client's own first, and a function of their own. False for a
    /// key that is not signed with.
    virtual bool set_signing_key(std::vector<X509Handle>, SchemeSigningFunction) { return false; }
    virtual void set_certificate_extractor(const CertificateExtractor &extractor) = 0;
    /// With one, the broker's own key must be among them, verified or not; one that is needs no
    /// known issuer. False when the client knows no pins.
    virtual bool set_key_pins(const KeyPins &) { return false; }
    /// Whether the platform's word counts beside the client's own. False when there is none to ask.
    virtual bool use_platform_verifier(bool use) { return !use; }
    /// Whether the broker must show its certificate's status. False when the client asks for none.
    virtual bool require_stapled_status(bool) { return false; }
    virtual std::string get_protocol_name() const = 0;
    virtual void enable_ipv6(bool enable) = 0;
    /// Runs handlers: all until no work is left (block), or only those that are ready.
    virtual void run_io(bool block) = 0;
    /// Ends the operation under way as cancelled.
    virtual void cancel() = 0;
    virtual void set_client_log_id(std::string id) = 0;
    virtual std::string get_client_log_id() const = 0;
    /// The address that the last connection was asked to go to, after any registration code was
    /// resolved.
    virtual std::string get_resolved_address() const = 0;
    /// Whether the next hello offers OAuth; not until it is switched on.
    virtual void enable_oauth(bool enable) = 0;
};

} // namespace kavro
