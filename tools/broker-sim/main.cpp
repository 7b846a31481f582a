#include "broker_sim.h"
#include "demo_scenario.h"
#include "manual.h"
#include "replay_reading.h"
#include "status_server.h"

#include <CLI/CLI.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <nlohmann/json.hpp>

#include <csignal>
#include <iostream>
#include <optional>

namespace {

constexpr const char *scenario_help = R"(A scenario is one JSON file; every section may be left out:
  listen           address and port
  broker           version, product, locale, broker-to-client variables
  tls              server certificate and highest TLS version
  session_cookie   name of the cookie that carries the session
  users            user name, password, domain; expired, blocked, without desktops
  domains          what a password demand offers
  authentication   the steps, in order: password, disclaimer, dialog, oauth
  password_change  what an expired password may become
  allocation       target, gateway ticket, alternates, variables, failures, pending
  desktops         a list of desktops, or {"generate": {"count": N, ...}}
  view_broker, direct_host, registration, provisioning, proxy
                   further servers, each on a port of its own
  overrides        other answers than the broker's own
  faults           stalls, resets, odd pieces, wrong status, bad XML
docs/simulator.md has every key. --print-demo shows the scenario that is played without --scenario.
)";

broker_sim::Scenario recorded(const std::string &file, bool fast) {
    auto scenario = broker_sim::read_replay(file);
    if (fast)
        for (auto &exchange : scenario.replay->exchanges)
            exchange.fault.delay = {};
    scenario.replay->astray = [](std::string_view request, std::string_view expected) {
        std::cerr << "kavro-broker-sim: the client goes another way: it sends "
                  << (request.empty() ? "no message" : request) << ", and "
                  << (expected.empty() ? "nothing more" : expected) << " is expected" << std::endl;
    };
    return scenario;
}

void wait_for_signal() {
    boost::asio::io_context io;
    boost::asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([](const boost::system::error_code &, int) {});
    io.run();
}

} // namespace

int main(int argc, char **argv) {
    CLI::App app("A connection broker to try clients against.", "kavro-broker-sim");
    app.footer(scenario_help);
    manual::add_manual_options(app);
    app.set_version_flag("-V,--version", "kavro-broker-sim " KAVRO_SIM_VERSION);
    std::string scenario_file, replay_file, scenario_to_check, address, ca_file, cache_folder;
    std::uint16_t port = 0, status_port = 0;
    bool print_demo = false, fast = false;
    app.add_option("--scenario", scenario_file, "What to play (default: the demonstration)")
        ->type_name("FILE");
    app.add_option("--check", scenario_to_check,
                   "Only tell whether this scenario can be played, and which key is wrong")
        ->type_name("FILE");
    auto *const replay_option =
        app.add_option("--replay", replay_file,
                       "Play the broker's side of what kavro-broker --record wrote, or of a "
                       "client's log of level debug")
            ->type_name("FILE")
            ->excludes("--scenario");
    app.add_flag("--fast", fast, "Play it without its delays")->needs(replay_option);
    app.add_option("--address", address, "Address to listen on, instead of the scenario's")
        ->type_name("ADDRESS");
    const auto *port_option =
        app.add_option("--port", port,
                       "Port to listen on, instead of the scenario's; 0: a free one")
            ->type_name("PORT");
    app.add_option("--ca-file", ca_file, "Write the CA certificate here, as PEM")
        ->type_name("FILE");
    app.add_option("--table-cache", cache_folder,
                   "Write the registration table into this folder, as clients cache it")
        ->type_name("FOLDER");
    const auto *status_option =
        app.add_option("--status-port", status_port,
                       "Show a browser on this machine what goes on, on this port; 0: a free one")
            ->type_name("PORT");
    app.add_flag("--print-demo", print_demo, "Print the demonstration scenario and exit");
    CLI11_PARSE(app, argc, argv);

    try {
        if (print_demo) {
            std::cout << broker_sim::demo_scenario_json;
            return 0;
        }
        if (!scenario_to_check.empty()) {
            broker_sim::Scenario::load(scenario_to_check);
            return 0;
        }
        auto scenario = !replay_file.empty()    ? recorded(replay_file, fast)
                        : scenario_file.empty() ? broker_sim::Scenario::demo()
                                                : broker_sim::Scenario::load(scenario_file);
        if (!address.empty())
            scenario.address = address;
        if (*port_option)
            scenario.port = port;
        broker_sim::Simulator simulator(std::move(scenario));
        auto ports = simulator.ports();
        std::optional<broker_sim::StatusServer> status_server;
        if (*status_option) {
            simulator.watch(!replay_file.empty()    ? replay_file
                            : scenario_file.empty() ? "demonstration"
                                                    : scenario_file);
            status_server.emplace(status_port, [&] { return simulator.status(); });
            ports["status"] = status_server->port();
        }
        if (!ca_file.empty())
            simulator.write_ca(ca_file);
        if (!cache_folder.empty())
            simulator.write_table_cache(cache_folder);
        const nlohmann::json ready = {{"address", simulator.address()},
                                      {"port", simulator.port()},
                                      {"ca_file", ca_file},
                                      {"ports", ports}};
        std::cout << ready.dump() << std::endl;
        wait_for_signal();
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "kavro-broker-sim: " << error.what() << '\n';
        return 1;
    }
}
