#pragma once

#include <memory>
#include <optional>
#include <string>

namespace kavro_cli {

/// A program that runs beside this one. It reads nothing, its output can be read here, and its
/// errors go where this program's go. Unless it has ended before, it ends with this object, and so
/// does all that it started.
class ChildProcess {
public:
    virtual ~ChildProcess() = default;

    /// A descriptor.
    virtual int output() const = 0;

    /// Nothing while it runs. A signal that ended it counts as 128 and its number.
    virtual std::optional<int> exit_status() = 0;
};

/// Starts what a command names, without a shell. The command is taken apart as a POSIX shell tells
/// words apart, with nothing substituted, or by the rules for the command line of a Windows
/// process. Throws a std::system_error when there is no such program.
std::unique_ptr<ChildProcess> start_program(const std::string &command);

/// The program that a command names, without its arguments, which may be secret. Throws a Failure
/// for a command that names none.
std::string program_of(const std::string &command);

} // namespace kavro_cli
