#include "kavro/src/hello.h"

#include "kavro/src/answer.h"

#include <algorithm>
#include <array>

namespace kavro {

namespace {

constexpr const char *handler = "Hello response handler";
constexpr std::string_view oauth_since_version = "2.1";
constexpr std::string_view organization_id = "clients.kavrolab.example";

constexpr std::array<std::string_view, 4> capabilities = {
    "CAP_DISCLAIMER_AUTHENTICATION", "CAP_NO_AUTHENTICATION", "CAP_DIALOG_AUTHENTICATION",
    "CAP_ALTERNATE_PROVISIONING"};

constexpr TextField<HelloResult> broker_info_fields[] = {
    {"product-name", &HelloResult::product_name},
    {"product-version", &HelloResult::product_version},
    {"platform", &HelloResult::platform},
    {"locale", &HelloResult::locale},
    {"ip-address", &HelloResult::ip_address},
    {"hostname", &HelloResult::hostname},
};

MissingTag read_broker_info(XmlNode message, HelloResult &hello) {
    const XmlNode brokers = message.child("brokers-info");
    if (!brokers)
        return "brokers-info";
    const XmlNode broker = brokers.child("broker-info");
    if (!broker)
        return "broker-info";
    if (const MissingTag missing = read_fields(broker, broker_info_fields, hello))
        return missing;
    return read_variables(message.child("broker-to-client-variables"), hello.broker_variables);
}

} // namespace

std::string without_leading_zeros(std::string_view version) {
    std::string result;
    for (;;) {
        const auto dot = version.find('.');
        const std::string_view component = version.substr(0, dot);
        const auto significant = component.find_first_not_of('0');
        if (significant != std::string_view::npos)
            result += component.substr(significant);
        else if (!component.empty())
            result += '0';
        if (dot == std::string_view::npos)
            return result;
        result += '.';
        version.remove_prefix(dot + 1);
    }
}

SecureText hello_request(std::string_view protocol_version, const ClientIdentity &identity,
                         bool oauth_enabled, const Variables &client_variables) {
    RequestText request(protocol_version);
    request.open("hello")
        .open("client-info")
        .element("product-name", identity.product_name)
        .element("product-version", identity.product_version)
        .element("platform", identity.platform)
        .element("locale", identity.locale)
        .element("hostname", identity.host_name)
        .element("serial-number", identity.mac_address)
        .element("device-name", identity.host_name)
        .element("kavro-unique-id", identity.mac_address);
    if (oauth_enabled && version_at_least(protocol_version, oauth_since_version))
        request.element("organization-id", organization_id);
    request.close("client-info").open("caps");
    if (oauth_enabled)
        request.element("cap", "CAP_OAUTH_AUTHENTICATION");
    for (const auto capability : capabilities)
        request.element("cap", capability);
    request.close("caps")
        .open("server-address")
        .element("ip-address", identity.server_address)
        .element("hostname", identity.server_host_name)
        .close("server-address")
        .variables("client-to-broker-variables", client_variables)
        .close("hello");
    return std::move(request).finish();
}

BrokerResult read_hello(XmlNode message, bool oauth_enabled, HelloAnswer &answer) {
    BrokerResult result;
    if (const MissingTag missing = read_broker_info(message, answer.hello))
        result = missing_tag(handler, missing);
    else
        result = process_authentication_method(message, oauth_enabled, answer.auth);
    if (result.code == ERROR_CODE_PROTOCOL_MANGLED_RESPONSE)
        answer.hello = {};
    return result;
}

} // namespace kavro
