#include "kavro/src/hello.h"

#include <algorithm>
#include <array>

namespace kavro {

namespace {

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

Read<> read_broker_info(XmlNode message, HelloResult &hello) {
    const auto broker = find(message, {"brokers-info", "broker-info"});
    if (!broker)
        return broker.error();
    if (auto texts = read_fields(*broker, broker_info_fields, hello); !texts)
        return texts;
    auto variables = read_variables(message.child("broker-to-client-variables"));
    if (!variables)
        return variables.error();
    hello.broker_variables = std::move(*variables);
    return {};
}

void write(RequestText &request, const Dialect &dialect, const ClientIdentity &identity,
           const Variables &client_variables) {
    request.open("client-info")
        .element("product-name", identity.product_name)
        .element("product-version", identity.product_version)
        .element("platform", identity.platform)
        .element("locale", identity.locale)
        .element("hostname", identity.host_name)
        .element("serial-number", identity.mac_address)
        .element("device-name", identity.host_name)
        .element("kavro-unique-id", identity.mac_address);
    if (dialect.oauth && version_at_least(dialect.version, oauth_since_version))
        request.element("organization-id", organization_id);
    request.close("client-info").open("caps");
    if (dialect.oauth)
        request.element("cap", "CAP_OAUTH_AUTHENTICATION");
    for (const auto capability : capabilities)
        request.element("cap", capability);
    request.close("caps")
        .open("server-address")
        .element("ip-address", identity.server_address)
        .element("hostname", identity.server_host_name)
        .close("server-address")
        .variables("client-to-broker-variables", client_variables);
}

BrokerResult read(Answer &answer, HelloAnswer &record) {
    HelloResult hello;
    if (const auto read = read_broker_info(answer.message, hello); !read)
        return missing_tag(answer.rules.reader, read.error());
    BrokerResult result = process_authentication_method(answer, record.auth);
    if (result.code != ERROR_CODE_PROTOCOL_MANGLED_RESPONSE)
        record.hello = std::move(hello);
    return result;
}

} // namespace

const Message<HelloAnswer, const Dialect &, const ClientIdentity &, const Variables &>
    hello_message = {
        .element = "hello",
        .write = write,
        .read = read,
        .answer = {.reader = "Hello response handler"},
        .completion = "cKAVRO_BROKER_CLIENT::handle_hello_resp",
};

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

} // namespace kavro
