#pragma once

#include "interruption.h"
#include "secret.h"

#include <initializer_list>
#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace kavro_cli {

struct SecretKind;

/// Where a secret is read from, as an option said. Never the secret itself, because everybody can
/// read the command line of a process.
struct SecretSource {
    const SecretKind *kind = nullptr; ///< null when no option was given
    std::string option;
    std::string place; ///< the number of a descriptor, the name of a file, a command

    explicit operator bool() const { return kind != nullptr; }

    /// Throws a Failure when there is no secret to be had.
    Secret read(const Interruption &interruption) const;
};

/// An option of a command for a secret, and its words in the help; without any, those that are
/// usual for its kind.
struct SecretOption {
    const char *name;
    const char *description = nullptr;
};

/// The options for one secret, of which one may be given. What each takes is told by how it ends:
/// "-fd", "-stdin", "-file" or "-command".
std::vector<CLI::Option *> add_secret(CLI::App &app, SecretSource &source,
                                      std::initializer_list<SecretOption> options);

/// A descriptor that is named by its number; nothing for what is none.
std::optional<SecretSource> descriptor_source(const std::string &option, const std::string &number);

} // namespace kavro_cli
