// The scenario's JSON form. Each function lists the keys of one object.
#include "broker_state.h"
#include "demo_scenario.h"
#include "fault_reading.h"
#include "json_node.h"
#include "proxy_log_in.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <utility>

namespace broker_sim {
namespace {

constexpr std::size_t most_desktops = 100'000;

bool is_version(std::string_view text) {
    return text == "2.0" || text == "2.1";
}

bool is_tls_version(std::string_view text) {
    return text == "1.1" || text == "1.2" || text == "1.3";
}

bool is_key_kind(std::string_view text) {
    const std::string_view bits = text.starts_with("rsa-") ? text.substr(4) : "";
    return text == "ec-p256" || ((bits.size() == 3 || bits.size() == 4) &&
                                 bits.find_first_not_of("0123456789") == bits.npos);
}

bool is_method_or_keyword(std::string_view text) {
    const bool is_keyword =
        !text.empty() &&
        text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789") == text.npos;
    return is_keyword || is_authentication_method(text);
}

} // namespace

void read(const JsonNode &node, Variable &out) {
    node.read_object({{"name", into(out.name), true}, {"value", into(out.value), true}});
}

void read(const JsonNode &node, BrokerInfo &out) {
    node.read_object({
        {"version", checked(is_version, "must be \"2.0\" or \"2.1\"", out.version)},
        {"product_name", into(out.product_name)},
        {"product_version", into(out.product_version)},
        {"platform", into(out.platform)},
        {"locale", into(out.locale)},
        {"ip_address", into(out.ip_address)},
        {"hostname", into(out.hostname)},
        {"variables", into(out.variables)},
    });
}

void read(const JsonNode &node, Tls &out) {
    static constexpr Word<Issuer> issuers[] = {
        {"ca", Issuer::ca}, {"self", Issuer::self}, {"stranger", Issuer::stranger}};
    static constexpr Word<bool> client_certificates[] = {{"none", false}, {"required", true}};
    node.read_object({
        {"max_version",
         checked(is_tls_version, "must be \"1.1\", \"1.2\" or \"1.3\"", out.max_version)},
        {"key", checked(is_key_kind, "must be \"ec-p256\" or \"rsa-BITS\"", out.key)},
        {"names", into(out.names)},
        {"automatic_names", into(out.automatic_names)},
        {"expired", into(out.expired)},
        {"issuer", one_of(issuers, out.issuer)},
        {"client_certificate", one_of(client_certificates, out.demand_client_certificate)},
    });
}

void read(const JsonNode &node, User &out) {
    node.read_object({
        {"username", into(out.username), true},
        {"password", into(out.password), true},
        {"domain", into(out.domain)},
        {"password_expired", into(out.password_expired)},
        {"blocked", into(out.blocked)},
        {"entitled", into(out.entitled)},
    });
}

void read(const JsonNode &node, ProxyUser &out) {
    node.read_object(
        {{"username", into(out.username), true}, {"password", into(out.password), true}});
}

void read(const JsonNode &node, DialogField &out) {
    node.read_object({
        {"id", into(out.id), true},
        {"label", into(out.label)},
        {"text", into(out.text)},
        {"type", into(out.type)},
        {"text_type", into(out.text_type)},
        {"hidden", into(out.hidden)},
        {"do_not_log", into(out.do_not_log)},
        {"expected", into(out.expected)},
    });
}

void read(const JsonNode &node, DialogButton &out) {
    node.read_object({
        {"id", into(out.id), true},
        {"label", into(out.label)},
        {"is_default", into(out.is_default)},
        {"cancels", into(out.cancels)},
    });
}

void read(const JsonNode &node, Dialog &out) {
    node.read_object({
        {"prompt", into(out.prompt)},
        {"error_text", into(out.error_text)},
        {"fields", into(out.fields)},
        {"buttons", into(out.buttons)},
    });
}

void read(const JsonNode &node, OAuth &out) {
    node.read_object({{"code", into(out.code), true}, {"username", into(out.username)}});
}

void read(const JsonNode &node, AuthenticationStep &out) {
    node.read_object({
        {"methods",
         checked(is_method_or_keyword,
                 "must be password, disclaimer, dialog, oauth or a keyword in capitals",
                 out.methods),
         true},
        {"disclaimer", into(out.disclaimer)},
        {"dialog", into(out.dialog)},
        {"oauth", into(out.oauth)},
        {"variables", into(out.variables)},
    });
}

void read(const JsonNode &node, PasswordChange &out) {
    node.read_object({
        {"supported", into(out.supported)},
        {"minimum_length", into(out.minimum_length)},
        {"max_retries", into(out.max_retries)},
    });
}

void read(const JsonNode &node, Target &out) {
    node.read_object({
        {"ip_address", into(out.ip_address)},
        {"hostname", into(out.hostname)},
        {"sni", into(out.sni)},
        {"port", into(out.port)},
    });
}

void read(const JsonNode &node, GatewayTicket &out) {
    node.read_object({
        {"ticket", into(out.ticket)},
        {"created", into(out.created)},
        {"expires", into(out.expires)},
    });
}

void read(const JsonNode &node, Allocation &out) {
    node.read_object({
        {"result_id", into(out.result_id)},
        {"result_str", into(out.result_str)},
        {"fail_reason", into(out.fail_reason)},
        {"pending", into(out.pending)},
        {"target", into(out.target)},
        {"session_id", into(out.session_id)},
        {"connect_tag", into(out.connect_tag)},
        {"use_broker_address", into(out.use_broker_address)},
        {"agent_variables", into(out.agent_variables)},
        {"alternates", into(out.alternates)},
        {"gateway_ticket", into(out.gateway_ticket)},
        {"provisioned", into(out.provisioned)},
    });
}

void read(const JsonNode &node, Icon &out) {
    node.read_object({{"size", into(out.size), true}, {"data", into(out.data), true}});
}

namespace {

/// A desktop's allocation starts as a copy of the scenario's and states only what differs.
std::vector<JsonNode::Member> desktop_members(Desktop &out, const Allocation &shared) {
    const auto allocation = [&](const JsonNode &node) {
        Allocation own = shared;
        read(node, own);
        out.allocation = std::make_shared<const Allocation>(std::move(own));
    };
    return {
        {"name", into(out.name), true},
        {"id", into(out.id), true},
        {"type", into(out.type)},
        {"session_type", into(out.session_type)},
        {"state", into(out.state)},
        {"health", into(out.health)},
        {"protocols", into(out.protocols)},
        {"icons", into(out.icons)},
        {"operations", checked(is_power_operation, "is no power operation", out.operations)},
        {"allocation", allocation},
    };
}

void read_generator(const JsonNode &node, const Allocation &shared, std::vector<Desktop> &out) {
    std::size_t count = 0;
    const auto read_count = [&](const JsonNode &number) { count = number.number(most_desktops); };
    Desktop model{.name = "Desktop {n}",
                  .id = "desktop-{n}",
                  .icons = {{"16", "iVBORw0KGgoAAAANSUhEUgAAABAAAAAQ"}}};
    std::vector<JsonNode::Member> members = desktop_members(model, shared);
    for (JsonNode::Member &member : members)
        member.required = false;
    node.read_object(members, {{"count", read_count, true}});
    out = generate_desktops(model, count);
}

void read_desktops(const JsonNode &node, const Allocation &shared, std::vector<Desktop> &out) {
    const auto read_one = [&](const JsonNode &desktop) {
        desktop.read_object(desktop_members(out.emplace_back(), shared));
    };
    const auto generate = [&](const JsonNode &generator) {
        read_generator(generator, shared, out);
    };
    if (node.is_array())
        node.read_array(read_one);
    else
        node.read_object({{"generate", generate, true}});
}

/// The keys of every server beside the broker. Its TLS states only what differs from the broker's.
std::vector<JsonNode::Member> listener_members(Listener &out, const Scenario &scenario) {
    out.tls = scenario.tls;
    return {{"port", into(out.port)},
            {"tls", into(out.tls)},
            {"most_requests", into(out.patience.most_requests)},
            {"idle_ms", into(out.patience.idle)}};
}

void read_registration(const JsonNode &node, const Scenario &scenario, Registration &out) {
    const auto table = [&](const JsonNode &object) { out.table = object.object_as_text(); };
    node.read_object({{"table", table}}, listener_members(out.listener, scenario));
}

void read_provisioning(const JsonNode &node, const Scenario &scenario, Provisioning &out) {
    node.read_object({{"scheme", into(out.scheme)},
                      {"leaf_certificate", into(out.leaf_certificate)},
                      {"result_id", into(out.result_id)},
                      {"result_str", into(out.result_str)}},
                     listener_members(out.listener, scenario));
}

void read_proxy(const JsonNode &node, const Scenario &scenario, Proxy &out) {
    node.read_object(
        {{"log_in", checked(is_proxy_log_in, "must be basic, digest, digest-md5, negotiate or ntlm",
                            out.log_in)},
         {"users", into(out.users)},
         {"nonce_uses", into(out.nonce_uses)}},
        listener_members(out.listener, scenario));
}

void check_provisioning(const JsonNode &node, const Scenario &scenario) {
    const auto is_provisioned = [](const Desktop &desktop) {
        return desktop.allocation && desktop.allocation->provisioned;
    };
    if (!scenario.provisioning &&
        (scenario.allocation.provisioned || std::ranges::any_of(scenario.desktops, is_provisioned)))
        node.fail("an allocation is provisioned, but there is no provisioning server");
}

} // namespace

void read(const JsonNode &node, Scenario &out) {
    const auto listen = [&](const JsonNode &child) {
        child.read_object({{"address", into(out.address)},
                           {"port", into(out.port)},
                           {"most_requests", into(out.patience.most_requests)},
                           {"idle_ms", into(out.patience.idle)}});
    };
    const auto authentication = [&](const JsonNode &child) {
        child.read_array([&](const JsonNode &element) {
            AuthenticationStep &step = out.authentication.emplace_back();
            read(element, step);
            const std::string &user = step.oauth.username;
            if (!user.empty() &&
                std::ranges::find(out.users, user, &User::username) == out.users.end())
                element.fail("oauth names the unknown user " + user);
        });
    };
    const auto desktops = [&](const JsonNode &child) {
        read_desktops(child, out.allocation, out.desktops);
    };
    const auto server = [&out](std::optional<Listener> &listener) {
        return [&](const JsonNode &child) {
            child.read_object(listener_members(listener.emplace(), out));
        };
    };
    const auto registration = [&](const JsonNode &child) {
        read_registration(child, out, out.registration.emplace());
    };
    const auto provisioning = [&](const JsonNode &child) {
        read_provisioning(child, out, out.provisioning.emplace());
    };
    const auto proxy = [&](const JsonNode &child) { read_proxy(child, out, out.proxy.emplace()); };
    node.read_object({
        {"listen", listen},
        {"broker", into(out.broker)},
        {"tls", into(out.tls)},
        {"session_cookie", into(out.session_cookie)},
        {"session_idle_ms", into(out.session_idle)},
        {"users", into(out.users)},
        {"domains", into(out.domains)},
        {"authentication", authentication},
        {"password_change", into(out.password_change)},
        {"allocation", into(out.allocation)},
        {"desktops", desktops},
        {"overrides", into(out.overrides)},
        {"faults", into(out.faults)},
        {server_name::view_broker, server(out.view_broker)},
        {server_name::direct_host, server(out.direct_host)},
        {server_name::registration, registration},
        {server_name::provisioning, provisioning},
        {server_name::proxy, proxy},
    });
    check_provisioning(node, out);
}

Scenario Scenario::parse(std::string_view json) {
    Scenario scenario;
    try {
        read(JsonNode(nlohmann::json::parse(json), ""), scenario);
    } catch (const nlohmann::json::parse_error &error) {
        throw ScenarioError(std::string("scenario: ") + error.what());
    }
    return scenario;
}

Scenario Scenario::load(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf()))
        throw ScenarioError("scenario: cannot read " + path.string());
    return parse(text.view());
}

Scenario Scenario::demo() {
    return parse(demo_scenario_json);
}

} // namespace broker_sim
