#include "arguments.h"
#include "command.h"
#include "report.h"
#include "shell_completion.h"
#include "shell_history.h"
#include "table.h"
#include "terminal.h"
#include "words.h"

#include <algorithm>
#include <csignal>
#include <ostream>

namespace kavro_cli {
namespace {

constexpr Command refresh_command{
    .name = "refresh",
    .summary = "Ask the broker again, and list",
    .logs_in = true,
    .logs_out = true,
    .run =
        [](Session &session, const Options &options, const Surroundings &surroundings) {
            session.forget_desktops();
            list_command.run(session, options, surroundings);
        },
};

Failure wrong_usage(const CLI::ParseError &error) {
    Failure failure(ExitStatus::usage, "WRONG_USAGE", error.what());
    failure.detail = "The command help lists what there is.";
    return failure;
}

/// Reads commands and carries them out in one session until the user leaves.
class Shell {
public:
    Shell(Session &session, const Options &options, const Surroundings &surroundings);

    void run();

private:
    using Action = std::function<void()>;

    bool next_line(Secret &line);
    bool edit_line(Secret &line);
    Completion complete(std::string_view line);
    void carry_out(std::string_view line);
    void add_commands(CLI::App &app, Options &options, Action &chosen);
    void after(const Failure &failure);
    void list_commands(const CLI::App &app) const;

    bool interactive() const { return !surroundings_.script && surroundings_.console != nullptr; }

    Session &session_;
    const Options &options_; ///< with which every command begins
    const Surroundings &surroundings_;
    const ShellHistory history_;
    const std::unique_ptr<LineEditor> editor_; ///< null when the console reads lines in its own way
    bool open_ = true;
    bool logs_out_ = true; ///< at the end, unless a command needs the broker session
    ExitStatus last_failure_ = ExitStatus::ok;
};

constexpr const char *prompt = "kavro-broker> ";

Shell::Shell(Session &session, const Options &options, const Surroundings &surroundings)
    : session_(session),
      options_(options),
      surroundings_(surroundings),
      history_(surroundings.state_folder),
      editor_(interactive() && surroundings.edits_lines
                  ? open_line_editor(surroundings.interruption,
                                     [this](std::string_view line) { return complete(line); })
                  : nullptr) {
    if (editor_)
        failure_of([&] {
            std::ranges::for_each(history_.lines(),
                                  [&](const auto &line) { editor_->remember(line); });
        });
}

void Shell::run() {
    Secret line;
    while (open_ && next_line(line))
        carry_out(line.view());
    if (open_ && interactive())
        surroundings_.console->write("\n");
    if (logs_out_)
        session_.log_out();
    if (last_failure_ != ExitStatus::ok)
        throw Told{last_failure_};
}

bool Shell::next_line(Secret &line) {
    if (!interactive())
        return read_line(surroundings_.script.value_or(0), line, surroundings_.interruption);
    try {
        return editor_ ? edit_line(line)
                       : surroundings_.console->ask(prompt, line, Console::Echo::on);
    } catch (const Failure &failure) {
        after(failure);
        line.clear();
        return true;
    }
}

/// A history that cannot be written is no reason to stop.
bool Shell::edit_line(Secret &line) {
    if (!editor_->read(prompt, line))
        return false;
    const std::string typed(line.view());
    editor_->remember(typed);
    failure_of([&] { history_.add(typed); });
    return true;
}

/// Nothing where the line cannot be understood, or the desktops cannot be listed.
Completion Shell::complete(std::string_view line) {
    Completion completion{};
    failure_of([&] {
        CLI::App app;
        Options options;
        Action chosen;
        add_commands(app, options, chosen);
        completion = kavro_cli::complete(line, app, [this] { return session_.desktops(); });
    });
    return completion;
}

void Shell::carry_out(std::string_view line) {
    Options options = options_;
    const auto failure = failure_of([&] {
        CLI::App app;
        Action chosen = [] {};
        add_commands(app, options, chosen);
        try {
            parse_arguments(words_of(line), app);
        } catch (const CLI::ParseError &error) {
            if (error.get_exit_code() != 0)
                throw wrong_usage(error);
            app.exit(error, surroundings_.out, surroundings_.err);
        }
        chosen();
        require_written(surroundings_.out);
    });
    if (!failure)
        return;
    after(*failure);
    report_failure(*failure, options.json(), surroundings_);
    last_failure_ = failure->status;
}

void Shell::add_commands(CLI::App &app, Options &options, Action &chosen) {
    const auto add = [&](const char *name, const char *summary, const Action &action) {
        auto *page = app.add_subcommand(name, summary);
        page->callback([&chosen, action] { chosen = action; });
        return page;
    };
    for (const auto *command :
         {&list_command, &refresh_command, &connect_command, &power_command}) {
        auto *page = add(command->name, command->summary, [&, command] {
            command->run(session_, options, surroundings_);
            logs_out_ &= command->logs_out;
        });
        command->add_options(*page, options);
        add_form_options(*page, options);
    }
    add("logout", "End the broker session, and leave", [this] {
        open_ = false;
        logs_out_ = true;
    });
    add("quit", "Leave, and end the broker session unless a desktop was connected", [this] {
        open_ = false;
    })->alias("exit");
    add("help", "List these commands; COMMAND --help tells the options of one",
        [&] { list_commands(app); });
}

/// Ends the shell as well, unless the user wanted to stop only what was running.
void Shell::after(const Failure &failure) {
    auto &interruption = surroundings_.interruption;
    if (!interruption.raised())
        return;
    if (!interactive() || interruption.signal() != SIGINT)
        throw failure;
    interruption.reset();
}

void Shell::list_commands(const CLI::App &app) const {
    Table table;
    for (const auto *command : app.get_subcommands({}))
        table.add({command->get_name(), command->get_description()});
    table.print(surroundings_.out);
}

} // namespace

constexpr Command shell_command{
    .name = "shell",
    .summary = "Log in once, then carry out one command after the other",
    .description =
        "Logs in and reads commands: list, refresh, connect, power, logout, quit and help. A\n"
        "command that fails does not end the shell, and Ctrl-C stops only the command that is\n"
        "running. When standard input is no terminal, commands are read from there, one on each\n"
        "line; the exit status is that of the last one that failed.\n\n"
        "Examples:\n"
        "  kavro-broker shell --broker broker.example\n"
        "  kavro-broker shell --broker broker.example --user alice --domain EXAMPLE \\\n"
        "      --password-fd 3 3< password.txt < commands.txt",
    .logs_in = true,
    .run = [](Session &session, const Options &options,
              const Surroundings &surroundings) { Shell(session, options, surroundings).run(); },
};

} // namespace kavro_cli
