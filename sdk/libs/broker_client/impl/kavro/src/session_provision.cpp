#include "kavro/src/session_provision.h"

namespace kavro {

namespace {

constexpr std::string_view provisioning_version = "2.1"; // whatever was agreed with the broker

constexpr TextField<Provisioner> provisioner_fields[] = {
    {"provisioning-scheme", &Provisioner::scheme},
    {"ip-address", &Provisioner::address},
    {"port", &Provisioner::port},
    {"leaf-certificate", &Provisioner::leaf_certificate},
};

std::string could_not_find(const std::string &tag) {
    return "Could not find " + tag + " tag";
}

} // namespace

Read<> read_provisioner(XmlNode provision_info, Provisioner &provisioner) {
    const auto description = find(provision_info, {"provisioner"});
    if (!description)
        return description.error();
    if (auto texts = read_fields(*description, provisioner_fields, provisioner); !texts)
        return texts;
    const auto variable = find(*description, {"provisioning-variables", "variable"});
    if (!variable)
        return variable.error();
    const auto name = find(*variable, {"name"});
    const auto value = find(*variable, {"value"});
    if (!name || !value)
        return !name ? name.error() : value.error();
    provisioner.gateway_ticket = value->text();
    return {};
}

SecureText session_provision_request(std::string_view address, const SessionProvision &content) {
    RequestText text(provisioning_version);
    text.open("session-provision")
        .element("jsessionid", content.jsessionid)
        .element("gateway-ticket", content.gateway_ticket)
        .open("request-context")
        .element("amzn-request-id", content.request_id)
        .close("request-context")
        .open("client-info")
        .element("time-zone-windows", content.time_zone)
        .element("locale", content.locale)
        .close("client-info")
        .close("session-provision");
    const SecureText body = std::move(text).finish() + "\r\n";

    SecureText request;
    request.reserve(body.size() + address.size() + 256);
    // Provisioning servers expect the second line in one piece, as strange as it looks.
    request.append("POST /kavro-broker/xml HTTP/1.1\r\nHost: ")
        .append(address)
        .append("Content-Type: text/xml charset=UTF-8Content-Length: ")
        .append(std::to_string(body.size()))
        .append("\r\n\r\n")
        .append(body);
    return request;
}

Expected<XmlNode> read_session_provision(XmlNode root) {
    if (!root || root.name() != "kavro-client")
        return could_not_find("kavro-client");
    const auto message = find(root, {"session-provision-resp"});
    if (!message)
        return could_not_find(message.error());
    const auto id = find(*message, {"result", "result-id"});
    if (!id)
        return could_not_find(id.error());
    if (id->text() != "SESSION_PROVISION_SUCCESSFUL")
        return "Session provisioning failed: " + id->text() + " " +
               child_text(message->child("result"), "result-str");
    return message;
}

} // namespace kavro
