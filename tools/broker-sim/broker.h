#pragma once
#include "broker_state.h"
#include "message.h"

#include <optional>
#include <string>
#include <string_view>

namespace broker_sim {

/// The kinds of request of the protocol, by the name of their message element.
bool is_message_kind(std::string_view kind);

struct BrokerAnswer {
    std::string body{};
    std::string set_cookie{}; ///< value of the header; empty for none
};

/// The broker side of the protocol, without any network: requests in, answers out.
class Broker {
public:
    explicit Broker(Scenario scenario) : state_(std::move(scenario)) {}

    /// `session_id` is the value of the session cookie, if the request had one. Which server the
    /// request came to decides what may be asked.
    BrokerAnswer answer(const Message &message, const std::optional<std::string> &session_id,
                        std::string_view server = server_name::broker);
    std::string refusal(const ProtocolError &error) const;

    /// Ends the sessions that nobody has used for as long as the scenario allows.
    void end_abandoned_sessions();

    const Scenario &scenario() const { return state_.scenario; }
    BrokerState &state() { return state_; }
    const BrokerState &state() const { return state_; }

private:
    BrokerState state_;
};

} // namespace broker_sim
