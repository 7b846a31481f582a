#include "application.h"

#include "arguments.h"
#include "client_certificate.h"
#include "command.h"
#include "log_sink.h"
#include "login.h"
#include "manual.h"
#include "report.h"

#include <fmt/format.h>

#include <optional>
#include <ostream>

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

const Command *parse(std::vector<std::string> arguments, Options &options, CLI::App &app) {
    const Command *chosen = nullptr;
    app.require_subcommand(1);
    manual::add_manual_options(app);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");

    app.footer(fmt::format("Run kavro-broker help COMMAND for its options and examples.\n\n{}",
                           exit_statuses));
    app.set_version_flag("-V,--version", fmt::format("kavro-broker {}\n{}", KAVRO_CLI_VERSION,
                                                     kavro_broker_get_version()));
    for (const auto *command : commands) {
        auto &page = *app.add_subcommand(command->name, command->summary)->group("Commands");
        command->add_options(page, options);
        if (!command->run_alone)
            add_session_options(page, options, command->logs_in);
        add_output_options(page, options);
        page.footer(command->description);
        page.callback([&chosen, &options, command] {
            if (command->needs_broker && options.broker_host.empty() &&
                options.registration_code.empty())
                throw CLI::RequiredError("The broker's address or --registration-code");
            chosen = command;
        });
    }
    parse_arguments(std::move(arguments), app);
    return chosen;
}

/// Whether a broker that ended a command like this can be expected to take a good-bye.
bool still_there(ExitStatus status) {
    return status != ExitStatus::unreachable && status != ExitStatus::timed_out;
}

/// For all that is no request of a session, and checked by it.
void use_proxy(const ProxyOptions &proxy, const Secret &password) {
    if (kavro_broker_set_proxy(nullptr, proxy.proxy.c_str(), proxy.user.c_str(),
                               password.c_str()) != KAVRO_BROKER_OK)
        throw Failure(ExitStatus::usage, "UNUSABLE_PROXY",
                      "--proxy takes none, system, or http, https, socks5 or socks5h with host and "
                      "port, as http://proxy.example:3128.");
}

void carry_out(const Command &command, const Options &options, const Surroundings &surroundings) {
    install_log_sink(options.log_level);
    const Secret proxy_password =
        options.proxy.password ? options.proxy.password.read(surroundings.interruption) : Secret();
    use_proxy(options.proxy, proxy_password);
    if (command.run_alone) {
        command.run_alone(options, surroundings);
        return require_written(surroundings.out);
    }
    const bool ask = surroundings.console != nullptr && !options.login.non_interactive;
    std::optional<Prompts> prompts;
    if (ask)
        prompts.emplace(*surroundings.console);
    Prompts *const prompts_or_null = ask ? &*prompts : nullptr;
    std::optional<Answers> answers;
    if (command.logs_in)
        answers.emplace(options.login, prompts_or_null, surroundings.interruption);
    std::optional<ClientCertificate> certificate;
    if (options.client_certificate.uri)
        certificate.emplace(open_client_key(options.client_certificate, prompts_or_null,
                                            surroundings.interruption));

    Session session(options, surroundings);
    session.use_proxy(options.proxy, proxy_password);
    if (ask && !options.json() && !command.only_looks)
        session.ask_whom_to_trust(*prompts);
    if (certificate)
        session.show(*certificate);
    const auto failure = failure_of([&] {
        if (answers)
            Login(session, std::move(*answers), surroundings.login_name).run();
        command.run(session, options, surroundings);
    });
    if (failure) {
        if (still_there(failure->status))
            session.log_out();
        throw *failure;
    }
    require_written(surroundings.out);
    if (command.logs_out)
        session.log_out();
}

/// The surroundings as the options want them.
Surroundings adapted(Surroundings surroundings, const Options &options) {
    surroundings.spinner &= options.log_level == 0; // not between lines of a log
    if (options.colouring != Colouring::automatic)
        surroundings.out_in_colour = surroundings.err_in_colour =
            options.colouring == Colouring::always;
    return surroundings;
}

int exit_status(const Failure &failure, const Interruption &interruption) {
    const bool by_signal = failure.status == ExitStatus::cancelled && interruption.raised();
    return by_signal ? 128 + interruption.signal() : static_cast<int>(failure.status);
}

} // namespace

int run_application(std::vector<std::string> arguments, const Surroundings &surroundings) {
    CLI::App app("Talks to a connection broker: lists your desktops, connects them, switches them "
                 "on and off.",
                 "kavro-broker");
    Options options;
    const Command *command = nullptr;
    try {
        command = parse(std::move(arguments), options, app);
    } catch (const CLI::ParseError &error) {
        const int status = app.exit(error, surroundings.out, surroundings.err);
        return static_cast<int>(status == 0 ? ExitStatus::ok : ExitStatus::usage);
    }
    const auto mine = adapted(surroundings, options);
    if (options.insecure)
        warn("the broker's certificate is not checked; whoever answers gets your password.", mine);
    try {
        const auto failure = failure_of([&] { carry_out(*command, options, mine); });
        if (!failure)
            return static_cast<int>(ExitStatus::ok);
        report_failure(*failure, options.json(), mine);
        return exit_status(*failure, surroundings.interruption);
    } catch (const Told &told) {
        return static_cast<int>(told.status);
    }
}

} // namespace kavro_cli
