#include "command_line.h"

#include "arguments.h"
#include "manual.h"
#include "profiles.h"
#include "report.h"

#include <fmt/format.h>

#include <algorithm>

namespace kavro_cli {
namespace {

constexpr const char *exit_statuses =
    "Exit status:\n"
    "  0    it worked\n"
    "  1    wrong usage, an unknown desktop, or a local problem\n"
    "  2    the broker could not be reached\n"
    "  3    the broker is not trusted\n"
    "  4    the log-in failed\n"
    "  5    the broker refused the desktop or the request\n"
    "  6    the broker's answer makes no sense, or it failed\n"
    "  7    the broker did not answer in time\n"
    "  8    an answer is missing and nobody can be asked\n"
    "  9    the desktop is still being prepared: try again later\n"
    "  130  cancelled by Ctrl-C (128 + the signal's number)";

/// Says who has set what is wrong.
CLI::ParseError with_source(const CLI::ParseError &error, const Settings &settings) {
    const std::string sentence = error.what();
    for (const auto &[name, values, source] : settings)
        if (sentence.find("--" + name) != sentence.npos)
            return {fmt::format("{} ({})", sentence, source),
                    static_cast<CLI::ExitCodes>(error.get_exit_code())};
    return error;
}

} // namespace

CommandLine::CommandLine()
    : app("Talks to a connection broker: lists your desktops, connects them, switches them on and "
          "off.",
          "kavro-broker") {
    app.require_subcommand(1);
    manual::add_manual_options(app);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");

    app.footer(fmt::format("Run kavro-broker help COMMAND for its options and examples.\n\n{}",
                           exit_statuses));
    app.set_version_flag("-V,--version", fmt::format("kavro-broker {}\n{}", KAVRO_CLI_VERSION,
                                                     kavro_broker_get_version()));
    for (const auto *each : commands) {
        auto &page = *app.add_subcommand(each->name, each->summary)->group("Commands");
        each->add_options(page, options);
        if (!each->run_alone)
            add_session_options(page, options, each->logs_in);
        add_output_options(page, options);
        show_variables(page);
        page.footer(each->description);
        page.callback([this, each] { command = each; });
    }
}

void CommandLine::parse(std::vector<std::string> words) {
    parse_arguments(std::move(words), app);
}

void CommandLine::parse_completed(std::vector<std::string> words) try {
    parse(std::move(words));
    if (command->needs_broker && options.broker_host.empty() && options.registration_code.empty())
        throw CLI::RequiredError("The broker's address or --registration-code");
} catch (const CLI::ParseError &error) {
    throw with_source(error, options.settings);
}

Settings CommandLine::settings(const Surroundings &surroundings) const {
    const auto typed = given_on(page());
    if (page().get_option_no_throw("--profile") == nullptr)
        return typed;
    const auto both = above(typed, given_by_environment(), page());
    const auto named = values_of(both, "profile");
    Settings profile;
    const auto failure = failure_of([&] {
        profile =
            settings_of_profile(surroundings.config_folder, named.empty() ? "" : named.front(),
                                [this](const std::string &name) { return is_option(name); });
    });
    if (failure && (!named.empty() || failure->name != "UNFIT_FILE"))
        throw *failure;
    if (failure)
        warn(failure->what(), surroundings);
    return above(both, profile, page());
}

bool CommandLine::is_option(const std::string &name) const {
    return name != "help" && name != "profile" &&
           std::ranges::any_of(app.get_subcommands({}), [&](const auto *each) {
               return each->get_option_no_throw("--" + name) != nullptr;
           });
}

} // namespace kavro_cli
