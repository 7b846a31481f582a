#include "command.h"
#include "desktop_choice.h"
#include "handoff.h"
#include "utils/src/safe_file.h"

#include <fmt/format.h>

#include <chrono>
#include <ostream>
#include <sstream>
#include <system_error>

namespace kavro_cli {
namespace {

using std::chrono::ceil;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// Asks for the desktop and, while it is being prepared, again until the time is over.
Connection connect(Session &session, const Desktop &desktop, const Options &options,
                   const Surroundings &surroundings) {
    const auto deadline = steady_clock::now() + seconds(options.timeout_seconds);
    auto timeout = options.timeout_seconds;
    for (bool told = false;; told = true) {
        steady_clock::time_point asked_again;
        try {
            return session.connect(desktop.id, options.agent_variables, timeout);
        } catch (const Failure &failure) {
            asked_again = steady_clock::now() + surroundings.retry_pause;
            if (failure.status != ExitStatus::pending || !options.wait || asked_again >= deadline)
                throw;
        }
        if (!told)
            surroundings.err << "The desktop is still being prepared; waiting for it." << std::endl;
        timeout = static_cast<uint16_t>(ceil<seconds>(deadline - asked_again).count());
        wait_for("Waiting for the desktop to be prepared", surroundings,
                 [&] { surroundings.interruption.pause(surroundings.retry_pause); });
    }
}

void write_file(const std::string &path, const std::string &content) {
    if (const auto failure = kavro::replace_file(path, content))
        throw Failure(
            ExitStatus::usage, "OUTPUT_FAILED",
            fmt::format("The result could not be written: {}: {}.", path, failure.message()));
}

void run(Session &session, const Options &options, const Surroundings &surroundings) {
    const auto desktops = session.desktops();
    const auto &desktop = find_desktop(desktops, options.desktop);
    const auto connection = connect(session, desktop, options, surroundings);
    if (!options.output_file)
        return print_handoff(desktop, connection, options, surroundings.out);
    std::ostringstream content;
    print_handoff(desktop, connection, options, content);
    write_file(*options.output_file, content.str());
}

void add_options(CLI::App &app, Options &options) {
    add_desktop(app, options);
    app.add_option("--timeout", options.timeout_seconds,
                   "How long the broker may take; 180 unless told otherwise")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 65534).description(""));
    app.add_flag("--wait", options.wait,
                 "Ask again while the desktop is being prepared, until --timeout");
    add_words(app, "--output", options.form,
              {{"text", Form::text}, {"json", Form::json}, {"shell", Form::shell}},
              "Form of the result: for reading, as --json, or as variables of a shell");
    app.add_option("--output-file", options.output_file,
                   "Write the result to this file, which nobody else can read, once it is whole")
        ->type_name("FILE");
    app.add_flag("--show-secrets", options.show_secrets,
                 "Show the connect tag and the gateway ticket in the form for reading; the others "
                 "always hold them");
    add_assignments(app, "--agent-variable", options.agent_variables,
                    "A variable for the desktop's agent; may be repeated");
}

} // namespace

constexpr Command connect_command{
    .name = "connect",
    .summary = "Have a desktop made ready and print where it is",
    .description =
        "Asks the broker for a desktop and prints what a display client needs to open it. The\n"
        "broker session stays open, because the desktop belongs to it.\n\n"
        "Examples:\n"
        "  kavro-broker connect --broker broker.example \"Build server\"\n"
        "  kavro-broker connect --broker broker.example vm-17 --wait --timeout 300 --json\n"
        "  target=$(kavro-broker connect --broker broker.example vm-17 --output shell) &&\n"
        "      eval \"$target\"",
    .logs_in = true,
    .add_options = add_options,
    .run = run,
};

} // namespace kavro_cli
