#include "command.h"
#include "report.h"
#include "table.h"

namespace kavro_cli {
namespace {

void run(const Options &options, const Surroundings &surroundings) {
    auto objects = Json::array();
    Table table;
    table.add({"SETTING", "VALUE", "FROM"});
    for (const auto &[name, values, source] : options.settings)
        for (const auto &value : values) {
            const auto shown = shown_value(name, value);
            objects.push_back({{"name", name}, {"value", shown}, {"from", source}});
            table.add({name, shown, source});
        }
    if (options.json())
        report_success({{"settings", objects}}, surroundings.out);
    else
        table.print(surroundings.out);
}

} // namespace

constexpr Command config_command{
    .name = "config",
    .summary = "Show what is set, and where",
    .description =
        "Shows the options that hold for a command with the same options, with the value of each\n"
        "and where it comes from: the command line, the environment or a profile of the file\n"
        "config.toml. Secrets and answers are not shown.\n\n"
        "Examples:\n"
        "  kavro-broker config\n"
        "  kavro-broker config @office --json",
    .add_options = [](CLI::App &app, Options &options) { add_session_options(app, options, true); },
    .run_alone = run,
    .needs_broker = false,
};

} // namespace kavro_cli
