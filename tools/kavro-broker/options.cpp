#include "options.h"

#include "certificates.h"
#include "client_key.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace kavro_cli {
namespace {

/// Turns "NAME=VALUE" into a pair, or throws what makes a usage message.
kavro_broker::variable split_assignment(const std::string &option, const std::string &text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0)
        throw CLI::ValidationError(option, "takes NAME=VALUE");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

/// An option that takes one value each time it is given, and hands each to `take`.
template <class Take>
CLI::Option *add_each(CLI::App &app, const std::string &option, const std::string &type,
                      const std::string &description, Take take) {
    return app
        .add_option_function<std::vector<std::string>>(
            option,
            [take](const std::vector<std::string> &values) { std::ranges::for_each(values, take); },
            description)
        ->type_name(type)
        ->allow_extra_args(false);
}

void add_broker_options(CLI::App &app, Options &options) {
    app.option_defaults()->group("Broker");
    add_each(app, "--trust-anchor", "FILE",
             "Trust the certificates in this file, PEM or DER, as well; may be repeated",
             [&options](const std::string &file) { options.trust_anchor_files.push_back(file); });
    const auto take_pin = [&options](const std::string &text) {
        const auto pin = read_pin(text);
        if (!pin)
            throw CLI::ValidationError("--pin", "takes the 64 hexadecimal digits of a SHA-256, or "
                                                "sha256// and its base64");
        options.pin = *pin;
    };
    auto *pin =
        app.add_option_function<std::string>(
               "--pin", take_pin,
               "Talk only to a broker whose certificate or key has this fingerprint; one that is "
               "merely unknown here is trusted by it")
            ->type_name("SHA256");
    app.add_flag("--insecure", options.insecure, "Accept every certificate, whoever showed it")
        ->excludes(pin);
    app.add_option("--locale", options.locale,
                   "Locale to tell the broker, e.g. de_DE, instead of the user's")
        ->type_name("NAME");
    app.add_option("--timezone", options.timezone, "Time zone to tell the broker, by Windows name")
        ->type_name("NAME");
    add_assignments(app, "--variable", options.hello_variables,
                    "A variable for the broker; may be repeated");
}

void add_time_limits(CLI::App &app, Options &options) {
    app.option_defaults()->group("Time limits");
    const std::pair<const char *, const char *> limits[] = {
        {"--connect-timeout", "Seconds for finding the broker, connecting and agreeing on TLS"},
        {"--request-timeout", "Seconds for the answer to a greeting, a list or an operation"},
        {"--login-timeout", "Seconds for the answer to a log-in, which may wait for a person"},
        {"--provision-timeout", "Seconds for a provisioning server"},
    };
    for (std::size_t limit = 0; limit < std::size(limits); ++limit) {
        const auto &[name, description] = limits[limit];
        const auto take = [&options, limit](double seconds) {
            options.time_limits[limit] = static_cast<uint32_t>(std::lround(seconds * 1000));
        };
        app.add_option_function<double>(name, take, description)
            ->type_name("SECONDS")
            ->check(CLI::Range(0.1, 3600.0));
    }
}

void add_proxy_options(CLI::App &app, ProxyOptions &proxy) {
    app.option_defaults()->group("Proxy");
    app.add_option("--proxy", proxy.proxy,
                   "Way to the broker: none, system (what this machine is set to, the default), or "
                   "http, https, socks5 or socks5h, as socks5h://HOST:PORT")
        ->type_name("URL");
    app.add_option("--proxy-user", proxy.user, "User name for a proxy that wants a log-in")
        ->type_name("NAME");
    add_secret(
        app, proxy.password,
        {{"--proxy-password-fd", "Read the password for the proxy from this descriptor, one line"},
         {"--proxy-password-file"},
         {"--proxy-password-command"}});
}

void add_login_options(CLI::App &app, LoginOptions &login, const char *group) {
    app.option_defaults()->group(group);
    app.add_option("--user", login.user, "User name")->type_name("NAME");
    app.add_option("--domain", login.domain, "Domain of the user")->type_name("NAME");
    add_secret(app, login.password,
               {{"--password-fd", "Read the password from this descriptor, one line"},
                {"--password-stdin"},
                {"--password-file"},
                {"--password-command"}});
    add_secret(
        app, login.new_password,
        {{"--new-password-fd", "The same for a new password, when the old one has expired"}});
    add_secret(
        app, login.oauth_code,
        {{"--oauth-code-fd", "The same for the code of an OAuth log-in"}, {"--oauth-command"}});
    app.add_flag("--accept-disclaimer", login.accept_disclaimer,
                 "Accept the broker's disclaimer unseen");
    add_assignments(app, "--answer", login.answers,
                    "Answer to a field of the broker's dialog; may be repeated")
        ->type_name("FIELD=VALUE");
    add_each(app, "--answer-fd", "FIELD=N", "The same for a secret field, read from a descriptor",
             [&login](const std::string &value) {
                 auto [field, number] = split_assignment("--answer-fd", value);
                 const auto source = descriptor_source("--answer-fd", number);
                 if (!source)
                     throw CLI::ValidationError("--answer-fd",
                                                "takes FIELD=N with an open descriptor");
                 login.secret_answers.emplace_back(field, *source);
             });
    app.add_option("--button", login.button, "Button to press in the broker's dialogs")
        ->type_name("ID");
    app.add_flag("--non-interactive", login.non_interactive,
                 "Never ask: fail with status 8 when an answer is missing");
}

void add_client_certificate_options(CLI::App &app, ClientCertificateOptions &certificate) {
    app.option_defaults()->group("Client certificate");
    auto *uri =
        app.add_option("--client-certificate", certificate.uri, client_key_form.description);
    uri->type_name(client_key_form.value);
    app.add_option("--pkcs11-module", certificate.module_path,
                   "Module that knows the token, unless the URI names it; without one those "
                   "registered on this system")
        ->type_name("FILE")
        ->needs(uri);
    const auto pins =
        add_secret(app, certificate.pin,
                   {{"--token-pin-fd", "Read the token's PIN from this descriptor, one line"},
                    {"--pin-command"}});
    for (auto *pin : pins)
        pin->needs(uri);
}

} // namespace

bool split_broker_address(const std::string &text, std::string &host, std::string &port) {
    static constexpr std::string_view scheme = "https://";
    if (text.starts_with(scheme)) {
        const auto end = text.find_last_not_of('/') + 1;
        return end > scheme.size() &&
               split_broker_address(text.substr(scheme.size(), end - scheme.size()), host, port);
    }
    if (text.find('/') != std::string::npos) { // the library says what is wrong with it
        host = text;
        port.clear();
        return true;
    }
    std::string rest;
    if (text.starts_with('[')) {
        const auto end = text.find(']');
        if (end == std::string::npos)
            return false;
        host = text.substr(1, end - 1);
        rest = text.substr(end + 1);
    } else {
        const bool one_colon = std::ranges::count(text, ':') == 1;
        host = one_colon ? text.substr(0, text.find(':')) : text;
        rest = text.substr(host.size());
    }
    port = rest.empty() ? rest : rest.substr(1);
    const bool is_number = std::ranges::all_of(port, [](char c) { return c >= '0' && c <= '9'; });
    return !host.empty() && (rest.empty() || (rest.front() == ':' && !port.empty() && is_number));
}

CLI::Option *add_assignments(CLI::App &app, const std::string &option, Variables &variables,
                             const std::string &description) {
    return add_each(app, option, "NAME=VALUE", description,
                    [option, &variables](const std::string &value) {
                        variables.push_back(split_assignment(option, value));
                    });
}

CLI::Option *add_choice(CLI::App &app, const std::string &name,
                        const std::vector<std::string> &words,
                        const std::function<void(std::size_t)> &take,
                        const std::string &description) {
    const auto find = [name, words, take](const std::string &text) {
        const auto word = std::ranges::find(words, text);
        if (word == words.end())
            throw CLI::ValidationError(
                name, fmt::format("\"{}\" is none of {}", text, fmt::join(words, ", ")));
        take(static_cast<std::size_t>(word - words.begin()));
    };
    return app.add_option_function<std::string>(name, find, description)
        ->type_name(fmt::format("{{{}}}", fmt::join(words, ",")));
}

void add_desktop(CLI::App &app, Options &options) {
    app.add_option("DESKTOP", options.desktop,
                   "Id or name of the desktop; the beginning of its name will do")
        ->type_name("")
        ->required();
}

void add_form_options(CLI::App &app, Options &options) {
    app.option_defaults()->group("Output");
    auto *json = app.add_flag_callback(
        "--json", [&options] { options.form = Form::json; },
        "Print one JSON object, also on failure");
    if (auto *form = app.get_option_no_throw("--output"))
        json->excludes(form);
}

void add_output_options(CLI::App &app, Options &options) {
    add_form_options(app, options);
    add_words(app, "--color", options.colouring,
              {{"auto", Colouring::automatic},
               {"always", Colouring::always},
               {"never", Colouring::never}},
              "Colour the output; auto, on a terminal, unless NO_COLOR is set");
    std::vector<std::pair<std::string, int32_t>> levels{{"off", 0},
                                                        {"error", KAVRO_BROKER_LOG_ERROR},
                                                        {"info", KAVRO_BROKER_LOG_INFO},
                                                        {"debug", KAVRO_BROKER_LOG_DEBUG},
                                                        {"verbose", KAVRO_BROKER_LOG_VERBOSE}};
    for (int32_t level = 0; level <= KAVRO_BROKER_LOG_VERBOSE; ++level)
        levels.emplace_back(std::to_string(level), level);
    add_words(app, "--log-level", options.log_level, levels, "Log to standard error");
    app.add_option("--record", options.record_file,
                   "Write what passes between the broker and this program into this file, without "
                   "secrets; kavro-broker-sim --replay plays it")
        ->type_name("FILE");
}

CLI::Option *add_address_options(CLI::App &app, const char *name, const char *description,
                                 Options &options) {
    app.option_defaults()->group("Broker");
    app.add_option(
           "--profile", options.profile,
           "Take what is not given here from this section of config.toml; @NAME is the same")
        ->type_name("NAME");
    const auto take_address = [name, &options](const std::string &text) {
        if (!split_broker_address(text, options.broker_host, options.broker_port))
            throw CLI::ValidationError(name, "takes HOST[:PORT], e.g. [2001:db8::1]:443");
    };
    auto *address = app.add_option_function<std::string>(name, take_address, description)
                        ->type_name("HOST[:PORT]");
    app.add_option("--registration-code", options.registration_code,
                   "Code that stands for the broker's address, in its place")
        ->type_name("CODE")
        ->excludes(address);
    app.add_option("--cache", options.cache_folder,
                   "Folder for the table of registration codes, instead of the user's own")
        ->type_name("FOLDER");
    add_proxy_options(app, options.proxy);
    return address;
}

void add_session_options(CLI::App &app, Options &options, bool logs_in) {
    add_address_options(
        app, "--broker",
        "Where the broker is; without a port 443, then 60443 when nobody answers there", options);
    add_broker_options(app, options);
    add_time_limits(app, options);
    add_login_options(app, options.login, logs_in ? "Log-in" : "");
    add_client_certificate_options(app, options.client_certificate);
}

} // namespace kavro_cli
