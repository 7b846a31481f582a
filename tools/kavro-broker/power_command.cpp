#include "command.h"
#include "desktop_choice.h"
#include "display_text.h"
#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <ostream>

namespace kavro_cli {
namespace {

/// The state that the broker lists now. The operation is done by then, so a list that fails is no
/// failure of the command.
std::optional<std::string> state_of(const std::string &desktop_id, Session &session) {
    try {
        const auto desktops = session.desktops();
        const auto desktop = std::ranges::find(desktops, desktop_id, &Desktop::id);
        if (desktop != desktops.end())
            return desktop->state;
    } catch (const Failure &failure) {
        if (failure.status == ExitStatus::cancelled)
            throw;
    }
    return std::nullopt;
}

const char *word_for(uint32_t operation) {
    return std::ranges::find(operations, operation, &Operation::value)->word;
}

void run(Session &session, const Options &options, const Surroundings &surroundings) {
    const auto desktops = session.desktops();
    const auto &desktop = find_desktop(desktops, options.desktop);
    session.operate(desktop.id, options.operation);
    const auto state_after = state_of(desktop.id, session);

    const auto *operation = word_for(options.operation);
    if (options.json())
        report_success({{"desktop", reference_to(desktop)},
                        {"operation", operation},
                        {"state_before", desktop.state},
                        {"state_after", state_after ? Json(*state_after) : Json()}},
                       surroundings.out);
    else
        surroundings.out << visible(fmt::format("{}: {}, was {}, is {}", title(desktop), operation,
                                                desktop.state, state_after.value_or("unknown")))
                         << '\n';
}

void add_options(CLI::App &app, Options &options) {
    add_desktop(app, options);
    std::vector<std::pair<std::string, uint32_t>> words;
    for (const auto &operation : operations)
        words.emplace_back(operation.word, operation.value);
    add_words(app, "OPERATION", options.operation, words, "What is done to it")->required();
}

} // namespace

constexpr Command power_command{
    .name = "power",
    .summary = "Switch a desktop on or off, restart it, or let it sleep",
    .description =
        "Carries out a power operation and prints the desktop's state before and after it.\n\n"
        "Examples:\n"
        "  kavro-broker power --broker broker.example vm-17 up\n"
        "  kavro-broker power --broker broker.example \"Build server\" restart --json",
    .logs_in = true,
    .logs_out = true,
    .add_options = add_options,
    .run = run,
};

} // namespace kavro_cli
