#include "command.h"
#include "desktop_choice.h"
#include "report.h"
#include "table.h"

#include <fmt/format.h>

#include <chrono>
#include <ostream>

namespace kavro_cli {
namespace {

using std::chrono::ceil;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// Asks for the desktop and, while it is being prepared, again until the time is over.
Target connect(Session &session, const Desktop &desktop, const Options &options,
               const Surroundings &surroundings) {
    const auto deadline = steady_clock::now() + seconds(options.timeout_seconds);
    auto timeout = options.timeout_seconds;
    for (bool told = false;; told = true) {
        Target target;
        const auto result = session.connect(desktop.id, options.agent_variables, timeout, target);
        const auto asked_again = steady_clock::now() + surroundings.retry_pause;
        if (result != KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING || !options.wait ||
            asked_again >= deadline) {
            session.check(result);
            return target;
        }
        if (!told)
            surroundings.err << "The desktop is still being prepared; waiting for it." << std::endl;
        surroundings.interruption.pause(surroundings.retry_pause);
        timeout = static_cast<uint16_t>(ceil<seconds>(deadline - asked_again).count());
    }
}

Json to_json(const Variables &variables) {
    auto list = Json::array();
    for (const auto &[name, value] : variables)
        list.push_back({{"name", name}, {"value", value}});
    return list;
}

Json to_json(const std::vector<AlternateTarget> &alternates) {
    auto list = Json::array();
    for (const auto &alternate : alternates)
        list.push_back({{"address", alternate.address},
                        {"port", alternate.port},
                        {"host_name", alternate.host_name},
                        {"server_name", alternate.server_name}});
    return list;
}

Json to_json(const Desktop &desktop, const Target &target) {
    Json ticket;
    if (target.gateway_ticket)
        ticket = {{"ticket", target.gateway_ticket->ticket},
                  {"created", target.gateway_ticket->created},
                  {"expires", target.gateway_ticket->expires}};
    return {{"desktop", reference_to(desktop)},
            {"connection",
             {{"address", target.address},
              {"port", target.port},
              {"session_id", target.session_id},
              {"host_name", target.host_name},
              {"server_name", target.server_name},
              {"use_broker_address", target.use_broker_address},
              {"connect_tag", target.connect_tag},
              {"gateway_ticket", ticket},
              {"agent_variables", to_json(target.agent_variables)},
              {"alternates", to_json(target.alternates)}}}};
}

std::string in_words(const AlternateTarget &alternate) {
    auto words = fmt::format("{}, port {}", alternate.address, alternate.port);
    if (!alternate.host_name.empty())
        words += ", host name " + alternate.host_name;
    if (!alternate.server_name.empty())
        words += ", server name " + alternate.server_name;
    return words;
}

void print_table(const Desktop &desktop, const Target &target, bool show_secrets,
                 std::ostream &out) {
    const auto secret = [show_secrets](const std::string &text) {
        return show_secrets ? text : "(hidden, see --show-secrets)";
    };
    Table table;
    table.add({"Desktop", title(desktop)});
    table.add({"Address", target.address});
    table.add({"Port", target.port});
    table.add({"Session id", target.session_id});
    table.add({"Host name", target.host_name});
    table.add({"Server name", target.server_name});
    table.add({"Use broker address", target.use_broker_address ? "yes" : "no"});
    table.add({"Connect tag", secret(target.connect_tag)});
    if (const auto &ticket = target.gateway_ticket) {
        table.add({"Gateway ticket", secret(ticket->ticket)});
        table.add({"  created", ticket->created});
        table.add({"  expires", ticket->expires});
    }
    for (const auto &[name, value] : target.agent_variables)
        table.add({"Agent variable", name + " = " + value});
    for (const auto &alternate : target.alternates)
        table.add({"Alternate", in_words(alternate)});
    table.print(out);
}

void run(Session &session, const Options &options, const Surroundings &surroundings) {
    const auto desktops = session.desktops();
    const auto &desktop = find_desktop(desktops, options.desktop);
    const auto target = connect(session, desktop, options, surroundings);
    if (options.json)
        report_success(to_json(desktop, target), surroundings);
    else
        print_table(desktop, target, options.show_secrets, surroundings.out);
}

void add_options(CLI::App &app, Options &options) {
    add_desktop(app, options);
    app.add_option("--timeout", options.timeout_seconds,
                   "How long the broker may take; 180 unless told otherwise")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 65534).description(""));
    app.add_flag("--wait", options.wait,
                 "Ask again while the desktop is being prepared, until --timeout");
    app.add_flag("--show-secrets", options.show_secrets,
                 "Show the connect tag and the gateway ticket; --json always holds them");
    add_assignments(app, "--agent-variable", options.agent_variables,
                    "A variable for the desktop's agent; may be repeated");
}

} // namespace

constexpr Command connect_command{
    "connect",
    "Have a desktop made ready and print where it is",
    "Asks the broker for a desktop and prints what a display client needs to open it. The\n"
    "broker session stays open, because the desktop belongs to it.\n\n"
    "Examples:\n"
    "  kavro-broker connect --broker broker.example \"Build server\"\n"
    "  kavro-broker connect --broker broker.example vm-17 --wait --timeout 300 --json",
    true,
    false,
    add_options,
    run,
};

} // namespace kavro_cli
