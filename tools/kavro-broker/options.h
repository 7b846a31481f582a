#pragma once

#include "certificate.h"
#include "records.h"
#include "secret_source.h"
#include "settings.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kavro_cli {

/// Answers to what the broker may ask, as far as they were given beforehand.
struct LoginOptions {
    std::optional<std::string> user, domain, button;
    SecretSource password, new_password, oauth_code;
    Variables answers;
    std::vector<std::pair<std::string, SecretSource>> secret_answers;
    bool accept_disclaimer = false;
    bool non_interactive = false;
};

/// A certificate on a PKCS #11 token that is shown to the broker.
struct ClientCertificateOptions {
    std::optional<std::string> uri, module_path;
    SecretSource pin;
};

/// The way to the broker.
struct ProxyOptions {
    std::string proxy = "system";
    std::string user;
    SecretSource password;
};

/// How a result is printed: for reading, as one JSON object, or as variables of a shell.
enum class Form { text, json, shell };

/// When output is coloured; "automatic" is on terminals whose user has not set NO_COLOR.
enum class Colouring { automatic, always, never };

struct Options {
    std::string broker_host, broker_port; ///< an empty port means the library's usual ones
    std::string registration_code;        ///< in the place of both, unless it is empty
    std::optional<std::string> cache_folder;
    ProxyOptions proxy;
    LoginOptions login;
    ClientCertificateOptions client_certificate;
    std::optional<std::string> locale, timezone;
    Variables hello_variables;
    /// In milliseconds, by KAVRO_BROKER_LIMIT_...
    std::array<std::optional<uint32_t>, 4> time_limits;
    bool insecure = false;
    std::vector<std::string> trust_anchor_files;
    Pin pin; ///< of the broker's own certificate
    Form form = Form::text;
    Colouring colouring = Colouring::automatic;
    int32_t log_level = 0;
    std::optional<std::string> record_file;

    std::string desktop; ///< id or name, as typed
    Variables agent_variables;
    uint16_t timeout_seconds = 180;
    bool wait = false;
    std::optional<std::string> output_file;
    bool show_secrets = false;
    uint32_t operation = 0;

    std::string profile; ///< that was asked for
    Settings settings;   ///< all that holds, and who says so

    bool json() const { return form == Form::json; }
};

/// Takes "HOST", "HOST:PORT", "[IPV6]", "[IPV6]:PORT" or a bare IPv6 address apart, all with
/// "https://" as well. False when it is none of these.
bool split_broker_address(const std::string &text, std::string &host, std::string &port);

/// Where the broker is: the option or operand `name`, or a registration code in its place.
CLI::Option *add_address_options(CLI::App &app, const char *name, const char *description,
                                 Options &options);

/// The options of every command that talks to a broker. Those of the log-in are taken by one that
/// does without, too, but not shown.
void add_session_options(CLI::App &app, Options &options, bool logs_in);

/// What decides how the result of a command looks.
void add_form_options(CLI::App &app, Options &options);

/// The options of every command.
void add_output_options(CLI::App &app, Options &options);

/// A repeatable option whose values are "NAME=VALUE".
CLI::Option *add_assignments(CLI::App &app, const std::string &option, Variables &variables,
                             const std::string &description);

/// An option that takes one of these words; `take` gets the index of it.
CLI::Option *add_choice(CLI::App &app, const std::string &name,
                        const std::vector<std::string> &words,
                        const std::function<void(std::size_t)> &take,
                        const std::string &description);

/// The same for words that stand for values.
template <class Value>
CLI::Option *add_words(CLI::App &app, const std::string &name, Value &value,
                       const std::vector<std::pair<std::string, Value>> &meanings,
                       const std::string &description) {
    std::vector<std::string> words;
    for (const auto &[word, meaning] : meanings)
        words.push_back(word);
    return add_choice(
        app, name, words, [&value, meanings](std::size_t index) { value = meanings[index].second; },
        description);
}

/// The desktop that a command is about.
void add_desktop(CLI::App &app, Options &options);

} // namespace kavro_cli
