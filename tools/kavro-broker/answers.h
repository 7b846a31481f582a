#pragma once

#include "interruption.h"
#include "options.h"
#include "prompts.h"
#include "secret.h"

#include <map>
#include <optional>
#include <string>

namespace kavro_cli {

/// Where answers for the broker come from: those given beforehand, each of which is used once, and
/// the user, where there is one.
struct Answers {
    /// Reads the secrets from where they are, a line each: the password, the new password, the
    /// OAuth code, then dialog fields in the order of the command line. `prompts` may be null.
    Answers(const LoginOptions &options, Prompts *prompts_or_null,
            const Interruption &interruption);

    /// The user, to be asked for `what`; without one the failure that names the option to give.
    Prompts &ask(const std::string &what, const std::string &option) const;

    std::optional<std::string> user, domain, button;
    std::optional<Secret> password, new_password, oauth_code;
    std::map<std::string, Secret> plain_fields, secret_fields; ///< by field name or label
    bool accept_disclaimer;
    Prompts *prompts;
};

} // namespace kavro_cli
