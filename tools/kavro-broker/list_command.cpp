#include "command.h"
#include "report.h"
#include "table.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

namespace kavro_cli {
namespace {

/// In the order in which they are documented.
std::vector<std::string> words_of(const Desktop &desktop) {
    std::vector<std::string> words;
    for (const auto &operation : operations)
        if (std::ranges::count(desktop.operations, operation.value) != 0)
            words.emplace_back(operation.word);
    return words;
}

Json to_json(const Desktop &desktop) {
    return {{"id", desktop.id},         {"name", desktop.name},
            {"type", desktop.type},     {"state", desktop.state},
            {"health", desktop.health}, {"operations", words_of(desktop)}};
}

void print_table(const std::vector<Desktop> &desktops, const Surroundings &surroundings) {
    Table table;
    table.add({"NAME", "ID", "TYPE", "STATE", "HEALTH", "OPERATIONS"});
    for (const auto &desktop : desktops)
        table.add({desktop.name,
                   desktop.id,
                   desktop.type,
                   {desktop.state, colour_of(desktop.state)},
                   {desktop.health, colour_of(desktop.health)},
                   fmt::format("{}", fmt::join(words_of(desktop), ","))});
    table.print(surroundings.out, surroundings.out_in_colour);
}

void run(Session &session, const Options &options, const Surroundings &surroundings) {
    const auto desktops = session.desktops();
    if (!options.json())
        return print_table(desktops, surroundings);
    auto list = Json::array();
    for (const auto &desktop : desktops)
        list.push_back(to_json(desktop));
    report_success({{"broker", to_json(session.broker_info())}, {"desktops", list}},
                   surroundings.out);
}

} // namespace

constexpr Command list_command{
    .name = "list",
    .summary = "List the desktops that you may use",
    .description =
        "Lists your desktops with their state and the power operations that they offer.\n\n"
        "Examples:\n"
        "  kavro-broker list --broker broker.example\n"
        "  kavro-broker list --broker broker.example --user alice --domain EXAMPLE \\\n"
        "      --password-fd 3 --json 3< password.txt",
    .logs_in = true,
    .logs_out = true,
    .run = run,
};

} // namespace kavro_cli
