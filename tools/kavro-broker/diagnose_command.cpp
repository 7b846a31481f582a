#include "colour.h"
#include "command.h"
#include "diagnosis.h"
#include "display_text.h"
#include "probe.h"
#include "proxy_variables.h"
#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>

namespace kavro_cli {
namespace {

constexpr std::size_t text_width = 80;

/// Whether somebody else may answer in the broker's place, and nothing speaks against asking: to a
/// host that is not trusted nothing more is told.
bool may_be_another_kind(const Failure &result, const Json &report) {
    const bool looked_up = report["failed_in"] != "prepare" && report["failed_in"] != "resolve";
    const bool came_through = result.code != KAVRO_BROKER_ERR_PROXY_FAILED &&
                              result.code != KAVRO_BROKER_ERR_PROXY_AUTH_REQUIRED;
    return looked_up && came_through &&
           (result.status == ExitStatus::unreachable || result.status == ExitStatus::timed_out ||
            result.status == ExitStatus::protocol);
}

Evidence examine(Session &session, const Options &options, const Surroundings &surroundings) {
    const auto &limits = options.time_limits;
    Evidence evidence{
        options.broker_host + options.registration_code, Failure(KAVRO_BROKER_OK), {}};
    try {
        session.auth_method();
    } catch (const Failure &failure) {
        if (!failure.code || failure.status == ExitStatus::cancelled)
            throw;
        evidence.result = failure;
    }
    evidence.port = options.broker_port;
    evidence.environment_names_proxy = environment_names_proxy();
    evidence.report = Json::parse(session.request_report());
    if (may_be_another_kind(evidence.result, evidence.report))
        evidence.kind =
            find_kind(options, surroundings,
                      std::chrono::milliseconds(limits[KAVRO_BROKER_LIMIT_REQUEST].value()));
    return evidence;
}

// How the fields of the report are shown.

std::string plain(const Json &value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string listed(const Json &list) {
    std::string text;
    for (const Json &item : list)
        text += (text.empty() ? "" : ", then ") + plain(item);
    return text;
}

std::string milliseconds(const Json &microseconds) {
    return fmt::format("{:.1f} ms", microseconds.get<double>() / 1000);
}

std::string verdict(const Json &code) {
    return describe_certificate(code.get<uint32_t>());
}

/// A proxy with its last word, unless that is the consent of SOCKS.
std::string proxy_and_status(const Json &proxy) {
    const std::string url = proxy_of({{"proxy", proxy}});
    return proxy["status"] == 0 ? url : url + ", status " + proxy["status"].dump();
}

struct Row {
    const char *title;
    const char *field; ///< JSON pointer into the connection
    std::string (*text)(const Json &value);
};

constexpr Row rows[] = {
    {"Way", "/proxy", proxy_and_status},
    {"Address", "/tried", listed},
    {"Look-up", "/times_us/resolve", milliseconds},
    {"Connection", "/times_us/connect", milliseconds},
    {"Proxy", "/times_us/proxy", milliseconds},
    {"Handshake", "/times_us/handshake", milliseconds},
    {"Request", "/times_us/send", milliseconds},
    {"Waiting", "/times_us/wait", milliseconds},
    {"Answer", "/times_us/receive", milliseconds},
    {"Reading", "/times_us/parse", milliseconds},
    {"TLS", "/tls/version", plain},
    {"Cipher", "/tls/cipher", plain},
    {"Certificate", "/certificates/0/code", verdict},
    {"HTTP status", "/http_status", plain},
    {"In detail", "/error", plain},
};

/// The steps of the connection that tells, as far as it came.
void print_steps(const Evidence &evidence, std::ostream &out) {
    const auto print = [&out](const char *title, const std::string &text) {
        out << fmt::format("  {:<11}  {}\n", title, visible(text));
    };
    for (const auto &[title, field, text] : rows) {
        const Json value = evidence.connection().value(Json::json_pointer(field), Json());
        if (!value.is_null() && !(value.is_array() && value.empty()))
            print(title, text(value));
    }
    print("Result", fmt::format("{} {}", *evidence.result.code, evidence.result.name));
}

/// Two ports to connect to, an answer and who else it may be: all of it takes 15 seconds at most.
constexpr uint32_t patience_milliseconds = 3500;

/// Whatever answers, nobody's name or password is told.
void adapt(CLI::App &app, Options &options) {
    app.parse_complete_callback([&proxy = options.proxy, &limits = options.time_limits] {
        proxy = {.proxy = proxy.proxy, .user = {}, .password = {}};
        forget_log_in_of_environment();
        for (const auto limit : {KAVRO_BROKER_LIMIT_CONNECT, KAVRO_BROKER_LIMIT_REQUEST})
            limits[limit] = limits[limit].value_or(patience_milliseconds);
    });
}

/// The steps behind the one in which the conversation ended.
std::string not_looked_at(const Json &connection) {
    static constexpr std::pair<const char *, const char *> rests[] = {
        {"prepare", "the name, the connection, TLS, the certificate, the broker's answer and "},
        {"resolve", "the connection, TLS, the certificate, the broker's answer and "},
        {"connect", "TLS, the certificate, the broker's answer and "},
        {"proxy", "TLS, the certificate, the broker's answer and "},
        {"handshake", "the certificate, the broker's answer and "},
    };
    const std::string reached = connection.value("reached", "prepare");
    const auto *rest =
        std::ranges::find(rests, reached, &std::pair<const char *, const char *>::first);
    const bool judged = !connection.empty() && !connection["certificates"].empty();
    const bool answered = rest == std::end(rests);
    return fmt::format("Not looked at: {}the log-in.", answered ? ""
                                                       : judged ? "the broker's answer and "
                                                                : rest->second);
}

void run(Session &session, const Options &options, const Surroundings &surroundings) {
    Evidence evidence = examine(session, options, surroundings);
    session.log_out();
    const Diagnosis diagnosis = diagnose(evidence);
    evidence.result.status = diagnosis.status;
    if (options.json()) {
        report_result(
            evidence.result,
            {{"diagnosis",
              {{"name", diagnosis.name}, {"words", diagnosis.words}, {"advice", diagnosis.advice}}},
             {"report", evidence.report}},
            surroundings.out);
    } else {
        const bool well = evidence.result.status == ExitStatus::ok;
        surroundings.out << painted(visible(diagnosis.words), well ? Colour::green : Colour::red,
                                    surroundings.out_in_colour)
                         << '\n';
        if (!diagnosis.advice.empty())
            surroundings.out << word_wrapped(diagnosis.advice, text_width) << '\n';
        surroundings.out << '\n';
        print_steps(evidence, surroundings.out);
        surroundings.out << '\n'
                         << word_wrapped(not_looked_at(evidence.connection()), text_width) << '\n';
    }
    if (evidence.result.status != ExitStatus::ok)
        throw Told{evidence.result.status};
}

} // namespace

constexpr Command diagnose_command{
    .name = "diagnose",
    .summary = "Find out why a broker cannot be used, and what to do about it",
    .description =
        "Greets the broker as every command does, without logging in, and says in plain words\n"
        "what is wrong, with the time that each step took. When it is no broker that answers, it\n"
        "looks for other kinds there, as probe does, unless the host is not trusted. It tells\n"
        "nobody a name or a password and shows no ticket, a proxy neither. The object of --json\n"
        "holds the library's report and nothing secret, so that it can be sent to an\n"
        "administrator. It takes 15 seconds at most, unless the time limits are longer.\n\n"
        "Examples:\n"
        "  kavro-broker diagnose --broker broker.example\n"
        "  kavro-broker diagnose --broker broker.example:8443 --trust-anchor company-ca.pem --json",
    .add_options = adapt,
    .run = run,
    .only_looks = true,
};

} // namespace kavro_cli
