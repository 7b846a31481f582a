// Targets, and the provisioning step by which some of them reach the client: session-provision.
#include "broker_state.h"

namespace broker_sim {
namespace {

void write_target(XmlWriter &xml, const Target &target) {
    xml.leaf("ip-address", target.ip_address);
    xml.leaf("hostname", target.hostname);
    xml.leaf_unless_empty("sni", target.sni);
    xml.leaf("port", target.port);
}

} // namespace

void write_allocation(XmlWriter &xml, const Allocation &allocation) {
    {
        const auto target = xml.element("target");
        write_target(xml, allocation.target);
        xml.leaf("session-id", allocation.session_id);
        xml.leaf("connect-tag", allocation.connect_tag);
        if (allocation.use_broker_address)
            xml.leaf("use-broker-address-as-target", "true");
        write_variables(xml, "agent-to-client-variables", allocation.agent_variables);
    }
    if (!allocation.alternates.empty()) {
        const auto alternates = xml.element("alternate-targets");
        for (const Target &target : allocation.alternates) {
            const auto alternate = xml.element("alternate-target");
            write_target(xml, target);
        }
    }
    const GatewayTicket &ticket = allocation.gateway_ticket;
    if (!ticket.ticket.empty() || !ticket.created.empty() || !ticket.expires.empty()) {
        const auto info = xml.element("gateway-ticket-info");
        xml.leaf_unless_empty("gateway-ticket", ticket.ticket);
        xml.leaf_unless_empty("gt-creation-time", ticket.created);
        xml.leaf_unless_empty("gt-expiry-time", ticket.expires);
    }
}

void write_provision_info(const BrokerState &state, Session &session, const Allocation &allocation,
                          XmlWriter &xml) {
    const Provisioning &provisioning = state.scenario.provisioning.value();
    const std::string ticket = random_id();
    session.provisionings.emplace(ticket, &allocation);

    const auto info = xml.element("provision-info");
    const auto provisioner = xml.element("provisioner");
    xml.leaf("provisioning-scheme", provisioning.scheme);
    xml.leaf("ip-address", state.provisioner.address);
    xml.leaf("port", state.provisioner.port);
    xml.leaf("leaf-certificate",
             provisioning.leaf_certificate.value_or(state.provisioner.certificate));
    write_variables(xml, "provisioning-variables", {{"gateway-ticket", ticket}});
}

void session_provision(BrokerState &state, Session &session, const Message &message,
                       XmlWriter &xml) {
    const Provisioning &provisioning = state.scenario.provisioning.value();
    for (const char *path :
         {"request-context.amzn-request-id", "client-info.time-zone-windows", "client-info.locale"})
        message.required(path);
    const auto granted = session.provisionings.extract(message.required("gateway-ticket"));
    if (!granted)
        return write_result(xml, "SESSION_PROVISION_FAILED_INVALID_TICKET",
                            "The ticket is unknown or used");
    write_result(xml, provisioning.result_id, provisioning.result_str);
    if (provisioning.result_id == "SESSION_PROVISION_SUCCESSFUL")
        write_allocation(xml, *granted.mapped());
}

} // namespace broker_sim
