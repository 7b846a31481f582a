#include "handoff.h"

#include "desktop_choice.h"
#include "report.h"
#include "table.h"

#include <fmt/format.h>

#include <ostream>
#include <utility>

namespace kavro_cli {
namespace {

Json to_json(const Variables &variables) {
    auto list = Json::array();
    for (const auto &[name, value] : variables)
        list.push_back({{"name", name}, {"value", value}});
    return list;
}

Json to_json(const std::vector<kavro_broker::target> &alternates) {
    auto list = Json::array();
    for (const auto &alternate : alternates)
        list.push_back({{"address", alternate.address},
                        {"port", alternate.port},
                        {"host_name", alternate.host_name},
                        {"server_name", alternate.server_name}});
    return list;
}

Json to_json(const Desktop &desktop, const Connection &connection) {
    Json ticket;
    if (connection.gateway_ticket)
        ticket = {{"ticket", connection.gateway_ticket->ticket},
                  {"created", connection.gateway_ticket->creation},
                  {"expires", connection.gateway_ticket->expiry}};
    return {{"desktop", reference_to(desktop)},
            {"connection",
             {{"address", connection.target.address},
              {"port", connection.target.port},
              {"session_id", connection.session_id},
              {"host_name", connection.target.host_name},
              {"server_name", connection.target.server_name},
              {"use_broker_address", connection.use_broker_address},
              {"connect_tag", connection.connect_tag},
              {"gateway_ticket", ticket},
              {"agent_variables", to_json(connection.agent_variables)},
              {"alternates", to_json(connection.alternate_targets)}}}};
}

std::string in_words(const kavro_broker::target &alternate) {
    auto words = fmt::format("{}, port {}", alternate.address, alternate.port);
    if (!alternate.host_name.empty())
        words += ", host name " + alternate.host_name;
    if (!alternate.server_name.empty())
        words += ", server name " + alternate.server_name;
    return words;
}

void print_table(const Desktop &desktop, const Connection &connection, bool show_secrets,
                 std::ostream &out) {
    const auto secret = [show_secrets](const std::string &text) {
        return show_secrets ? text : "(hidden, see --show-secrets)";
    };
    Table table;
    table.add({"Desktop", title(desktop)});
    table.add({"Address", connection.target.address});
    table.add({"Port", connection.target.port});
    table.add({"Session id", connection.session_id});
    table.add({"Host name", connection.target.host_name});
    table.add({"Server name", connection.target.server_name});
    table.add({"Use broker address", connection.use_broker_address ? "yes" : "no"});
    table.add({"Connect tag", secret(connection.connect_tag)});
    if (const auto &ticket = connection.gateway_ticket) {
        table.add({"Gateway ticket", secret(ticket->ticket)});
        table.add({"  created", ticket->creation});
        table.add({"  expires", ticket->expiry});
    }
    for (const auto &[name, value] : connection.agent_variables)
        table.add({"Agent variable", name + " = " + value});
    for (const auto &alternate : connection.alternate_targets)
        table.add({"Alternate", in_words(alternate)});
    table.print(out);
}

/// Variables of a shell. What the broker did not send is empty, so that nothing is left of an
/// earlier connection.
void print_shell_lines(const Desktop &desktop, const Connection &connection, std::ostream &out) {
    const auto set = [&out](const std::string &name, const std::string &value) {
        out << "KAVRO_BROKER_" << name << '=' << shell_quoted(value) << '\n';
    };
    const auto &target = connection.target;
    const auto ticket = connection.gateway_ticket.value_or(kavro_broker::gateway_ticket{});
    const auto &variables = connection.agent_variables;
    const auto &alternates = connection.alternate_targets;
    const std::pair<const char *, std::string> single[] = {
        {"DESKTOP_ID", desktop.id},
        {"DESKTOP_NAME", desktop.name},
        {"ADDRESS", target.address},
        {"PORT", target.port},
        {"SESSION_ID", connection.session_id},
        {"HOST_NAME", target.host_name},
        {"SERVER_NAME", target.server_name},
        {"USE_BROKER_ADDRESS", connection.use_broker_address ? "1" : "0"},
        {"CONNECT_TAG", connection.connect_tag},
        {"GATEWAY_TICKET", ticket.ticket},
        {"GATEWAY_TICKET_CREATED", ticket.creation},
        {"GATEWAY_TICKET_EXPIRES", ticket.expiry},
        {"AGENT_VARIABLES", std::to_string(variables.size())},
        {"ALTERNATES", std::to_string(alternates.size())}};
    for (const auto &[name, value] : single)
        set(name, value);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        set(fmt::format("AGENT_VARIABLE_{}_NAME", i + 1), variables[i].name);
        set(fmt::format("AGENT_VARIABLE_{}_VALUE", i + 1), variables[i].value);
    }
    for (std::size_t i = 0; i < alternates.size(); ++i) {
        set(fmt::format("ALTERNATE_{}_ADDRESS", i + 1), alternates[i].address);
        set(fmt::format("ALTERNATE_{}_PORT", i + 1), alternates[i].port);
        set(fmt::format("ALTERNATE_{}_HOST_NAME", i + 1), alternates[i].host_name);
        set(fmt::format("ALTERNATE_{}_SERVER_NAME", i + 1), alternates[i].server_name);
    }
}

} // namespace

std::string shell_quoted(const std::string &text) {
    std::string word = "'";
    for (const char character : text)
        word += character == '\'' ? "'\\''" : std::string(1, character);
    return word + "'";
}

void print_handoff(const Desktop &desktop, const Connection &connection, const Options &options,
                   std::ostream &out) {
    switch (options.form) {
    case Form::text:
        return print_table(desktop, connection, options.show_secrets, out);
    case Form::json:
        return report_success(to_json(desktop, connection), out);
    case Form::shell:
        return print_shell_lines(desktop, connection, out);
    }
}

} // namespace kavro_cli
