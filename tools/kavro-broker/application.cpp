#include "application.h"

#include "client_certificate.h"
#include "command.h"
#include "command_line.h"
#include "log_sink.h"
#include "login.h"
#include "recording.h"
#include "report.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <ostream>

namespace kavro_cli {
namespace {

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
    Secret proxy_password;
    if (command.needs_broker && options.proxy.password)
        proxy_password = options.proxy.password.read(surroundings.interruption);
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
    surroundings.spinner &= options.log_level == 0 && !options.json(); // not amid log or objects
    if (options.colouring != Colouring::automatic)
        surroundings.out_in_colour = surroundings.err_in_colour =
            options.colouring == Colouring::always;
    return surroundings;
}

int exit_status(const Failure &failure, const Interruption &interruption) {
    const bool by_signal = failure.status == ExitStatus::cancelled && interruption.raised();
    return by_signal ? 128 + interruption.signal() : static_cast<int>(failure.status);
}

int told(const Failure &failure, const Options &options, const Surroundings &surroundings) {
    report_failure(failure, options.json(), surroundings);
    return exit_status(failure, surroundings.interruption);
}

/// The exit status when that is all: when the words are wrong, or ask for help.
std::optional<int> read(CommandLine &line, const std::function<void()> &parse,
                        const Surroundings &surroundings) {
    try {
        parse();
        return std::nullopt;
    } catch (const CLI::ParseError &error) {
        const int status = line.app.exit(error, surroundings.out, surroundings.err);
        return static_cast<int>(status == 0 ? ExitStatus::ok : ExitStatus::usage);
    }
}

/// The exit status of what is done.
int status_of(const std::function<void()> &work, const Options &options,
              const Surroundings &surroundings) {
    try {
        const auto failure = failure_of(work);
        return failure ? told(*failure, options, surroundings) : static_cast<int>(ExitStatus::ok);
    } catch (const Told &end) {
        return static_cast<int>(end.status);
    }
}

int run(const Command &command, const Options &options, Surroundings surroundings) {
    if (options.insecure)
        warn("the broker's certificate is not checked; whoever answers gets your password.",
             surroundings);
    std::optional<Recording> recording;
    const auto carry_out_recorded = [&] {
        if (options.record_file)
            surroundings.recording = &recording.emplace(*options.record_file, command.name);
        carry_out(command, options, surroundings);
    };
    const int status = status_of(carry_out_recorded, options, surroundings);
    if (!recording || recording->command_ended(status))
        return status;
    warn("the recording is not whole: it could not be written.", surroundings);
    return static_cast<int>(ExitStatus::usage);
}

} // namespace

/// The words are read twice: for what was typed, and with what that leaves to the environment and
/// the profile.
int run_application(std::vector<std::string> arguments, const Surroundings &surroundings) {
    CommandLine typed;
    if (const auto status = read(
            typed, [&] { typed.parse(arguments); }, surroundings))
        return *status;
    CommandLine line;
    auto &settings = line.options.settings;
    const auto failure = failure_of([&] { settings = typed.settings(surroundings); });
    if (failure)
        return told(*failure, typed.options, adapted(surroundings, typed.options));
    std::ranges::copy(words_for(settings, typed.page()), std::back_inserter(arguments));
    if (const auto status = read(
            line, [&] { line.parse_completed(arguments); }, surroundings))
        return *status;
    return run(*line.command, line.options, adapted(surroundings, line.options));
}

} // namespace kavro_cli
