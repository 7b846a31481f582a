#include "command.h"
#include "display_text.h"
#include "known_brokers.h"
#include "report.h"
#include "table.h"

#include <fmt/format.h>

#include <ostream>

namespace kavro_cli {
namespace {

void list(const KnownBrokers &known, const Options &options, std::ostream &out) {
    const auto brokers = known.all();
    auto objects = Json::array();
    Table table;
    table.add({"HOST", "PORT", "KEY PIN"});
    for (const auto &broker : brokers) {
        objects.push_back(
            {{"host", broker.host}, {"port", broker.port}, {"key_pin", broker.key_pin}});
        table.add({broker.host, broker.port, broker.key_pin});
    }
    if (options.json())
        report_success({{"known_brokers", objects}}, out);
    else
        table.print(out);
}

void remove(const KnownBrokers &known, const Options &options, std::ostream &out) {
    const KnownBroker broker{options.broker_host, options.broker_port, {}};
    if (!known.remove(broker))
        throw Failure(ExitStatus::usage, "UNKNOWN_BROKER",
                      fmt::format("{} is no known broker.", broker.address()));
    if (options.json())
        report_success({{"removed", {{"host", broker.host}, {"port", broker.port}}}}, out);
    else
        out << visible(fmt::format("{} is no known broker any more.", broker.address())) << '\n';
}

void run(const Options &options, const Surroundings &surroundings) {
    const KnownBrokers known(surroundings.config_folder);
    return options.broker_host.empty() ? list(known, options, surroundings.out)
                                       : remove(known, options, surroundings.out);
}

void add_options(CLI::App &app, Options &options) {
    const auto take_place = [&options](const std::string &text) {
        if (!split_broker_address(text, options.broker_host, options.broker_port) ||
            options.broker_port.empty())
            throw CLI::ValidationError("--remove", "takes HOST:PORT, e.g. [2001:db8::1]:443");
    };
    app.add_option_function<std::string>("--remove", take_place,
                                         "Forget the key of the broker at this place")
        ->type_name("HOST:PORT");
}

} // namespace

constexpr Command known_brokers_command{
    .name = "known-brokers",
    .summary = "List the brokers that you trusted for good, or forget one",
    .description =
        "Lists the brokers for which you answered \"always\" when you were asked whether to talk\n"
        "to them, with the fingerprints of their keys. A broker that has another key today is\n"
        "refused unless its certificate's issuer is known here; when its administrator confirms\n"
        "the new key, remove the broker here and answer again.\n\n"
        "Examples:\n"
        "  kavro-broker known-brokers\n"
        "  kavro-broker known-brokers --remove broker.example:443",
    .add_options = add_options,
    .run_alone = run,
    .needs_broker = false,
};

} // namespace kavro_cli
