#pragma once

#include "api.h"

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kavro_cli {

using Variable = std::pair<std::string, std::string>;
using Variables = std::vector<Variable>;

/// A power operation as it is typed and shown.
struct Operation {
    uint32_t value;
    const char *word;
};

inline constexpr std::array<Operation, 5> operations{{
    {KAVRO_BROKER_OPERATION_POWER_UP, "up"},
    {KAVRO_BROKER_OPERATION_POWER_DOWN, "down"},
    {KAVRO_BROKER_OPERATION_OS_RESTART, "restart"},
    {KAVRO_BROKER_OPERATION_SLEEP, "sleep"},
    {KAVRO_BROKER_OPERATION_RESUME, "resume"},
}};

struct Desktop {
    std::string name, id;
    std::string type = {}, state = {}, health = {};
    std::vector<std::string> operations = {}; ///< the words of those that it offers
};

struct GatewayTicket {
    std::string ticket, created, expires;
};

/// Another place where the same desktop can be reached.
struct AlternateTarget {
    std::string address, host_name, server_name, port;
};

/// Where a display client goes next.
struct Target {
    std::string address, port, session_id, host_name, server_name, connect_tag;
    bool use_broker_address = false;
    std::optional<GatewayTicket> gateway_ticket;
    Variables agent_variables;
    std::vector<AlternateTarget> alternates;
};

struct DialogField {
    std::string name, label, value;
    bool read_only = false, hidden = false, loggable = true;
    uint32_t text_type = KAVRO_BROKER_TEXT_TYPE_TEXT;

    bool secret() const { return hidden || !loggable; }
};

struct DialogButton {
    std::string id, label;
    bool is_default = false;
};

struct Dialog {
    std::string prompt, error;
    std::vector<DialogField> fields;
    std::vector<DialogButton> buttons;
};

struct BrokerInfo {
    std::string address, product, version, platform;
};

std::vector<Desktop> read_desktops(kavro_broker_desktop_list list);
Target read_target(kavro_broker_desktop_connection_info info);
Dialog read_dialog(kavro_broker_handle handle);
std::vector<std::string> read_domains(kavro_broker_handle handle);
BrokerInfo read_broker_info(kavro_broker_handle handle);

/// Null for no variables, which is how the library takes an empty list.
VariableList make_variable_list(const Variables &variables);

} // namespace kavro_cli
