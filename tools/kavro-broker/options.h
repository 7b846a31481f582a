#pragma once

#include "records.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace kavro_cli {

/// Answers to what the broker may ask, as far as they were given beforehand. Secrets come from
/// descriptors, because everybody can read the command line of a process.
struct LoginOptions {
    std::optional<std::string> user, domain, button;
    std::optional<int> password_descriptor, new_password_descriptor, oauth_code_descriptor;
    std::vector<std::pair<std::string, std::string>> answers;
    std::vector<std::pair<std::string, int>> answer_descriptors;
    bool accept_disclaimer = false;
    bool non_interactive = false;
};

/// A certificate on a PKCS #11 token that is shown to the broker.
struct ClientCertificateOptions {
    std::optional<std::string> uri, module_path;
    std::optional<int> pin_descriptor;
};

struct Options {
    std::string broker_host, broker_port; ///< an empty port means the library's usual ones
    std::string registration_code;        ///< in the place of both, unless it is empty
    std::optional<std::string> cache_folder;
    LoginOptions login;
    ClientCertificateOptions client_certificate;
    std::optional<std::string> locale, timezone;
    Variables hello_variables;
    bool insecure = false;
    std::vector<std::string> trust_anchor_files;
    std::string pin; ///< fingerprint of the broker's own certificate; empty for none
    bool json = false;
    int32_t log_level = 0;

    std::string desktop; ///< id or name, as typed
    Variables agent_variables;
    uint16_t timeout_seconds = 180;
    bool wait = false;
    bool show_secrets = false;
    uint32_t operation = 0;
};

/// Takes "HOST", "HOST:PORT", "[IPV6]", "[IPV6]:PORT" or a bare IPv6 address apart. False when it
/// is none of these.
bool split_broker_address(const std::string &text, std::string &host, std::string &port);

/// Where the broker is: the option or operand `name`, or a registration code in its place.
CLI::Option *add_address_options(CLI::App &app, const char *name, const char *description,
                                 Options &options);

/// The options of every command that talks to a broker.
void add_session_options(CLI::App &app, Options &options);

/// The options of every command.
void add_output_options(CLI::App &app, Options &options);

/// A repeatable option whose values are "NAME=VALUE".
CLI::Option *add_assignments(CLI::App &app, const std::string &option, Variables &variables,
                             const std::string &description);

/// Words that stand for numbers, in the order in which a message names them.
using Words = std::vector<std::pair<std::string, uint32_t>>;

/// Lets an option take one of these words for the number that it means.
void take_words(CLI::Option &option, const Words &words);

/// The desktop that a command is about.
void add_desktop(CLI::App &app, Options &options);

} // namespace kavro_cli
