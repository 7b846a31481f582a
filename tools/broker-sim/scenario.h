#pragma once
#include "faults.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace broker_sim {

/// A scenario that cannot be used; the text names the key at fault, as "users[0].password: ...".
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Variable {
    std::string name{};
    std::string value{};

    bool operator==(const Variable &) const = default;
};
using Variables = std::vector<Variable>;

/// What the broker says of itself in its answer to hello.
struct BrokerInfo {
    std::string version{"2.1"}; ///< "2.0" or "2.1"; written on every answer
    std::string product_name{"Broker Simulator"};
    std::string product_version{"1.0.0"};
    std::string platform{"simulated"};
    std::string locale{"en_US"};
    std::string ip_address{"127.0.0.1"};
    std::string hostname{"localhost"};
    Variables variables{}; ///< broker-to-client
};

enum class Issuer {
    ca,       ///< the simulator's CA, the one that Simulator::ca_pem() gives
    self,     ///< the server certificate signs itself
    stranger, ///< a CA that nobody is told about
};

struct Tls {
    std::string max_version{"1.3"}; ///< "1.2" or "1.3"; with "1.1" there is no common one
    std::string key{"rsa-2048"};    ///< "rsa-BITS" or "ec-p256"
    std::vector<std::string> names{};
    bool automatic_names = true; ///< localhost, the listen address, 127.0.0.1 and ::1
    bool expired = false;
    Issuer issuer = Issuer::ca;
    bool demand_client_certificate = false; ///< any will do
};

/// How long a server lets clients keep a connection; 0: for ever.
struct Patience {
    unsigned most_requests = 0;        ///< the answer to the last one says that it is
    std::chrono::milliseconds idle{0}; ///< from an answer to the next request
};

/// A server beside the broker, on the same address.
struct Listener {
    std::uint16_t port = 0; ///< 0: a free one
    Tls tls{};
    Patience patience{};
};

/// The service that publishes which broker a registration code stands for.
struct Registration {
    Listener listener{};
    /// A JSON object. "${broker}" in it becomes the address of the simulator's own broker.
    std::string table{"{}"};
};

/// The server that hands out the targets of allocations that are `provisioned`.
struct Provisioning {
    Listener listener{};
    std::string scheme{"KAVRO"};
    std::optional<std::string> leaf_certificate{};         ///< announced instead of its own
    std::string result_id{"SESSION_PROVISION_SUCCESSFUL"}; ///< any other one sends no target
    std::string result_str{};
};

/// Who may use the proxy.
struct ProxyUser {
    std::string username{};
    std::string password{};
};

/// A proxy, of HTTP with and without TLS and of SOCKS 5 at once, that leads to the simulator's own
/// servers, by whatever name a client asks for them.
struct Proxy {
    Listener listener{};
    std::vector<std::string> log_in{}; ///< what it offers, in this order; none: anybody may pass
    std::vector<ProxyUser> users{};
    unsigned nonce_uses = 0; ///< after so many log-ins by Digest a nonce is stale; 0: never
};

struct User {
    std::string username{};
    std::string password{};
    std::string domain{};
    bool password_expired = false;
    bool blocked = false;
    bool entitled = true; ///< false: the desktop list answers LIST_FAILED_NO_ENTITLEMENT
};

struct DialogField {
    std::string id{};
    std::string label{};
    std::string text{};
    std::string type{"text"};
    std::string text_type{}; ///< these three are left out of the answer when empty
    std::string hidden{};
    std::string do_not_log{};
    std::string expected{}; ///< the answer that passes; any, when empty
};

struct DialogButton {
    std::string id{};
    std::string label{};
    bool is_default = false;
    bool cancels = false; ///< starts the authentication again from its first step
};

struct Dialog {
    std::string prompt{};
    std::string error_text{};
    std::vector<DialogField> fields{};
    std::vector<DialogButton> buttons{};
};

struct OAuth {
    std::string code{};
    std::string username{}; ///< the user whom the code lets in
};

/// One demand of the broker, answered by any of its methods that the broker knows.
struct AuthenticationStep {
    /// "password", "disclaimer", "dialog", "oauth", or a protocol keyword in capitals, sent as it
    /// is.
    std::vector<std::string> methods{};
    std::string disclaimer{};
    Dialog dialog{};
    OAuth oauth{};
    Variables variables{}; ///< to-client, carried by the answer that passes this step
};

struct PasswordChange {
    bool supported = true;
    unsigned minimum_length = 8;
    unsigned max_retries = 3; ///< this many failures are told apart, later ones are "too many"
};

struct Target {
    std::string ip_address{"127.0.0.1"}; ///< an address or a host name
    std::string hostname{"localhost"};
    std::string sni{}; ///< left out of the answer when empty
    std::string port{"4172"};
};

struct GatewayTicket {
    std::string ticket{};
    std::string created{};
    std::string expires{};
};

/// What an allocate-resource request gets. Parts that are empty are left out of the answer.
struct Allocation {
    std::string result_id{"ALLOC_SUCCESSFUL"};
    std::string result_str{};
    std::string fail_reason{};
    unsigned pending = 0; ///< this many requests are told to try again first
    Target target{};
    std::string session_id{"1"};
    std::string connect_tag{"connect-tag"};
    bool use_broker_address = false;
    Variables agent_variables{};
    std::vector<Target> alternates{};
    GatewayTicket gateway_ticket{};
    bool provisioned = false; ///< all of the above comes from the provisioning server
};

struct Icon {
    std::string size{};
    std::string data{};
};

struct Desktop {
    std::string name{};
    std::string id{};
    std::string type{"DESKTOP"};
    std::string session_type{"VDI"};
    std::string state{"POWERED_ON"};
    std::string health{"HEALTHY"};
    std::vector<std::string> protocols{"KAVRO"};
    std::vector<Icon> icons{};
    /// The commands this desktop knows at all; its state decides which of them it offers.
    std::vector<std::string> operations{"CMD_OS_RESTART", "CMD_PWR_DOWN", "CMD_PWR_UP",
                                        "CMD_PWR_SLEEP", "CMD_PWR_RESUME"};
    std::shared_ptr<const Allocation> allocation{}; ///< none: the scenario's own
};

/// Copies of `model` whose name and id have "{n}" replaced by a number from 1, padded to six
/// digits.
std::vector<Desktop> generate_desktops(const Desktop &model, std::size_t count);

/// One exchange of a conversation that was recorded.
struct RecordedExchange {
    std::string request{}; ///< empty for a connection that came to none
    unsigned status = 200; ///< of HTTP
    std::string body{};
    Fault fault{};
};

/// What is said instead of all that the broker would say.
struct Replay {
    std::vector<RecordedExchange> exchanges{}; ///< in their order
    /// Told the request of a client on another way, and the one that was expected.
    std::function<void(std::string_view request, std::string_view expected)> astray{};
};

/// All that the simulator plays. A default-made one is a broker without authentication or desktops.
struct Scenario {
    std::string address{"127.0.0.1"};
    std::uint16_t port = 0; ///< 0: a free one
    Patience patience{};
    BrokerInfo broker{};
    Tls tls{};
    std::string session_cookie{"JSESSIONID"};
    std::chrono::milliseconds session_idle = std::chrono::minutes(20); ///< then it ends; 0: never
    std::vector<User> users{};
    std::vector<std::string> domains{};
    std::vector<AuthenticationStep> authentication{};
    PasswordChange password_change{};
    Allocation allocation{};
    std::vector<Desktop> desktops{};
    std::vector<Override> overrides{};
    std::vector<Fault> faults{};
    std::optional<Listener> view_broker{}; ///< these five servers run when they are given
    std::optional<Listener> direct_host{};
    std::optional<Registration> registration{};
    std::optional<Provisioning> provisioning{};
    std::optional<Proxy> proxy{};
    std::optional<Replay> replay{};

    /// Both throw ScenarioError.
    static Scenario parse(std::string_view json);
    static Scenario load(const std::filesystem::path &path);

    /// The scenario of scenarios/demo.json.
    static Scenario demo();
};

} // namespace broker_sim
