#pragma once
#include "message.h"
#include "scenario.h"

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace broker_sim {

/// One client's way through the authentication, from hello to bye.
struct Session {
    enum class Phase { steps, password_expired, blocked, authenticated };

    Phase phase = Phase::steps;
    std::size_t step = 0; ///< of Scenario::authentication
    User *user = nullptr; ///< known once a step named one
    unsigned failed_password_changes = 0;
    std::map<std::string, const Allocation *> provisionings{}; ///< to be fetched, by their tickets
    std::chrono::system_clock::time_point begun = std::chrono::system_clock::now();
    std::chrono::steady_clock::time_point used = std::chrono::steady_clock::now();
};

/// A desktop with what changes while the broker runs.
struct DesktopState {
    const Desktop *desktop;
    std::string power;             ///< begins as the scenario's state
    unsigned allocations_made = 0; ///< since it was last powered down
};

/// How clients find the provisioning server.
struct Provisioner {
    std::string address;
    std::string port;
    std::string certificate; ///< as PEM
};

/// What the proxy remembers of its clients.
struct ProxyState {
    struct Count {
        unsigned asked = 0;
        unsigned let_through = 0;
    };

    std::string nonce; ///< of Digest
    unsigned nonce_used = 0;
    std::map<std::pair<std::string, std::string>, Count> counts; ///< by user and target
};

/// All that the message handlers share.
struct BrokerState {
    explicit BrokerState(Scenario played);
    BrokerState(const BrokerState &) = delete;

    Scenario scenario;
    std::vector<DesktopState> desktops;
    std::unordered_map<std::string_view, std::size_t> desktop_positions;
    std::map<std::string, Session> sessions;
    Variables client_to_broker;
    Variables client_to_agent;
    Provisioner provisioner;
    ProxyState proxy;

    /// Null when there is no such desktop.
    DesktopState *find_desktop(std::string_view id);
};

/// A handler reads the message and writes the content of its answer element. It may throw
/// ProtocolError.
using Handler = void (*)(BrokerState &, Session &, const Message &, XmlWriter &);

void hello(BrokerState &, Session &, const Message &, XmlWriter &);
void authenticate(BrokerState &, Session &, const Message &, XmlWriter &);
void update_password(BrokerState &, Session &, const Message &, XmlWriter &);
void get_resource_list(BrokerState &, Session &, const Message &, XmlWriter &);
void allocate_resource(BrokerState &, Session &, const Message &, XmlWriter &);
void perform_operation(BrokerState &, Session &, const Message &, XmlWriter &);
void session_provision(BrokerState &, Session &, const Message &, XmlWriter &);

/// Whether a name is one of the scenario's "password", "disclaimer" and so on.
bool is_authentication_method(std::string_view name);

bool is_power_operation(std::string_view command);

/// 128 bits in hexadecimal digits, for what nobody may guess.
std::string random_id();

/// Writes the target of an allocation and whatever belongs to it.
void write_allocation(XmlWriter &xml, const Allocation &allocation);

/// Writes `provision-info` in the place of the target, which the session may fetch with it once.
void write_provision_info(const BrokerState &state, Session &session, const Allocation &allocation,
                          XmlWriter &xml);

/// Writes `next-authentication` for where the session stands.
void write_next_authentication(const BrokerState &state, const Session &session, XmlWriter &xml);

} // namespace broker_sim
