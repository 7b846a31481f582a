// get-resource-list, allocate-resource and perform-operation.
#include "broker_state.h"

#include <algorithm>

namespace broker_sim {
namespace {

constexpr std::string_view powered_on = "POWERED_ON";
constexpr std::string_view powered_off = "POWERED_OFF";
constexpr std::string_view suspended = "SUSPENDED";

struct PowerChange {
    std::string_view from;
    std::string_view command;
    std::string_view to;
};

/// What each state allows. A desktop in any other state can do nothing.
constexpr PowerChange power_changes[] = {
    {powered_on, "CMD_OS_RESTART", powered_on}, {powered_on, "CMD_PWR_DOWN", powered_off},
    {powered_on, "CMD_PWR_SLEEP", suspended},   {powered_off, "CMD_PWR_UP", powered_on},
    {suspended, "CMD_PWR_RESUME", powered_on},  {suspended, "CMD_PWR_DOWN", powered_off},
};

bool allows(const DesktopState &state, const PowerChange &change) {
    return change.from == state.power &&
           std::ranges::find(state.desktop->operations, change.command) !=
               state.desktop->operations.end();
}

bool is_authenticated(const Session &session) {
    return session.phase == Session::Phase::authenticated;
}

void write_desktop(XmlWriter &xml, const DesktopState &state) {
    const Desktop &desktop = *state.desktop;
    const auto resource = xml.element("resource");
    xml.leaf("resource-name", desktop.name);
    xml.leaf("resource-id", desktop.id);
    if (desktop.session_type.empty())
        xml.leaf("resource-type", desktop.type);
    else
        xml.leaf("resource-type", desktop.type, "session-type", desktop.session_type);
    xml.leaf("resource-state", state.power);
    xml.leaf_unless_empty("health-state", desktop.health);
    {
        const auto protocols = xml.element("protocols");
        for (const std::string &protocol : desktop.protocols)
            xml.leaf("protocol", protocol);
    }
    if (!desktop.icons.empty()) {
        const auto icons = xml.element("icons");
        for (const Icon &icon : desktop.icons)
            xml.leaf("icon", icon.data, "size", icon.size);
    }
    const auto operations = xml.element("supported-operations");
    for (const PowerChange &change : power_changes)
        if (allows(state, change))
            xml.leaf("supported-operation", change.command);
}

/// A desktop that is given to a user is powered up for it.
void wake(DesktopState &desktop) {
    if (desktop.power == powered_off || desktop.power == suspended)
        desktop.power = powered_on;
}

} // namespace

bool is_power_operation(std::string_view command) {
    return std::ranges::find(power_changes, command, &PowerChange::command) !=
           std::end(power_changes);
}

void get_resource_list(BrokerState &state, Session &session, const Message &, XmlWriter &xml) {
    if (!is_authenticated(session))
        return write_result(xml, "LIST_FAILED_NO_USER", "No user is authenticated");
    if (session.user && !session.user->entitled)
        return write_result(xml, "LIST_FAILED_NO_ENTITLEMENT", "The user has no desktops");
    write_result(xml, "LIST_SUCCESSFUL");
    for (const DesktopState &desktop : state.desktops)
        write_desktop(xml, desktop);
}

void allocate_resource(BrokerState &state, Session &session, const Message &message,
                       XmlWriter &xml) {
    state.client_to_agent = read_variables(message, "client-info.client-to-agent-variables");
    if (!is_authenticated(session))
        return write_result(xml, "ALLOC_FAILED_NO_USER", "No user is authenticated");
    DesktopState *const desktop = state.find_desktop(message.required("resource-id"));
    if (!desktop)
        return write_result(xml, "ALLOC_FAILED_INVALID_PARAMETER", "There is no such desktop");

    const Allocation &allocation =
        desktop->desktop->allocation ? *desktop->desktop->allocation : state.scenario.allocation;
    if (desktop->allocations_made < allocation.pending) {
        ++desktop->allocations_made;
        return write_result(xml, "ALLOC_PENDING_TRY_AGAIN", "The desktop is being made ready");
    }
    write_result(xml, allocation.result_id, allocation.result_str, allocation.fail_reason);
    if (allocation.result_id != "ALLOC_SUCCESSFUL")
        return;
    wake(*desktop);
    if (allocation.provisioned)
        write_provision_info(state, session, allocation, xml);
    else
        write_allocation(xml, allocation);
}

void perform_operation(BrokerState &state, Session &session, const Message &message,
                       XmlWriter &xml) {
    const std::string command = message.required("operation");
    DesktopState *const desktop = state.find_desktop(message.required("resource-id"));
    if (!is_authenticated(session))
        return write_result(xml, "OP_FAILED_NO_USER", "No user is authenticated");
    if (!desktop || !is_power_operation(command))
        return write_result(xml, "OP_FAILED_INVALID_PARAMETER",
                            "There is no such desktop or operation");

    const auto change = std::ranges::find_if(power_changes, [&](const PowerChange &row) {
        return row.command == command && allows(*desktop, row);
    });
    if (change == std::end(power_changes))
        return write_result(xml, "OP_FAILED_OPERATION_NOT_SUPPORTED",
                            "The desktop's state does not allow this");
    desktop->power = change->to;
    if (desktop->power == powered_off)
        desktop->allocations_made = 0;
    write_result(xml, "OP_SUCCESSFUL");
}

} // namespace broker_sim
