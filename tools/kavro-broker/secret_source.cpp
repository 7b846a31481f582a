#include "secret_source.h"

#include "child_process.h"
#include "failure.h"
#include "terminal.h"
#include "utils/src/expected.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace kavro_cli {
namespace {

using FoundSecret = kavro::Expected<Secret>;

std::optional<int> to_descriptor(const std::string &number) {
    int descriptor = -1;
    const auto *end = number.data() + number.size();
    const auto [rest, error] = std::from_chars(number.data(), end, descriptor);
    const bool is_number = error == std::errc() && rest == end && descriptor >= 0;
    return is_number ? std::optional(descriptor) : std::nullopt;
}

bool is_descriptor(const std::string &number) {
    return to_descriptor(number).has_value();
}

/// Not a byte more than the line, because the next secret may stand behind it.
FoundSecret read_descriptor(const std::string &number, const Interruption &interruption) {
    if (Secret line; read_line(*to_descriptor(number), line, interruption))
        return line;
    return "it is at its end";
}

FoundSecret read_standard_input(const std::string &, const Interruption &interruption) {
    return read_descriptor("0", interruption);
}

FoundSecret first_line(int descriptor, const Interruption &interruption) {
    if (Secret line; read_line(descriptor, line, interruption) && !line.empty())
        return line;
    return "its first line is empty";
}

FoundSecret read_file(const std::string &path, const Interruption &interruption) {
    const int descriptor = open(path.c_str(), O_RDONLY);
    if (descriptor < 0)
        return std::generic_category().message(errno);
    const std::shared_ptr<void> open_file(nullptr, [descriptor](void *) { close(descriptor); });
    return first_line(descriptor, interruption);
}

/// What comes behind the first line is read as well, so that the command can write it.
FoundSecret read_command(const std::string &command, const Interruption &interruption) {
    const auto program = start_program(command);
    auto found = first_line(program->output(), interruption);
    for (char ignored = 0; read_character(program->output(), ignored, interruption);)
        kavro::cleanse(&ignored, 1);
    std::optional<int> status;
    while (!(status = program->exit_status()))
        interruption.pause(std::chrono::milliseconds(5));
    if (*status != 0)
        return fmt::format("it ended with status {}", *status);
    return found;
}

bool is_command(const std::string &command) {
    return !failure_of([&] { program_of(command); });
}

bool is_anything(const std::string &) {
    return true;
}

std::string itself(const std::string &place) {
    return place;
}

} // namespace

struct SecretKind {
    const char *suffix, *type, *description;
    bool (*fits)(const std::string &place);
    const char *demand; ///< of a place that does not fit
    FoundSecret (*read)(const std::string &place, const Interruption &interruption);
    const char *failure, *place;
    std::string (*name)(const std::string &place);
};

namespace {

constexpr SecretKind kinds[] = {
    {"-fd", "N", "The same from this descriptor, one line", is_descriptor,
     "takes the number of an open descriptor", read_descriptor, "UNREADABLE_DESCRIPTOR",
     "descriptor {}", itself},
    {"-stdin", "", "The same from standard input", is_anything, "", read_standard_input,
     "UNREADABLE_DESCRIPTOR", "standard input", itself},
    {"-file", "FILE", "The same from this file, of which it is the first line", is_anything, "",
     read_file, "UNREADABLE_FILE", "{}", itself},
    {"-command", "TEXT",
     "The same from this program, of whose output it is the first line; quotes keep words "
     "together as in a shell, but none is started",
     is_command, "takes a program and its arguments, each quote closed", read_command,
     "FAILED_COMMAND", "{}", program_of},
};

const SecretKind &kind_of(const std::string &option) {
    return *std::ranges::find_if(
        kinds, [&](const SecretKind &kind) { return option.ends_with(kind.suffix); });
}

CLI::Option *add_source(CLI::App &app, SecretSource &source, const SecretOption &option) {
    const auto &kind = kind_of(option.name);
    const auto take = [name = option.name, &kind, &source](const std::string &place) {
        if (!kind.fits(place))
            throw CLI::ValidationError(name, kind.demand);
        source = {&kind, name, place};
    };
    const char *words = option.description != nullptr ? option.description : kind.description;
    if (*kind.type == '\0')
        return app.add_flag_callback(
            option.name, [take] { take({}); }, words);
    return app.add_option_function<std::string>(option.name, take, words)->type_name(kind.type);
}

} // namespace

Secret SecretSource::read(const Interruption &interruption) const {
    std::string reason;
    try {
        auto found = kind->read(place, interruption);
        if (found)
            return std::move(*found);
        reason = found.error();
    } catch (const std::system_error &error) {
        reason = error.code().message();
    }
    const auto where = fmt::format(fmt::runtime(kind->place), kind->name(place));
    throw Failure(ExitStatus::usage, kind->failure,
                  fmt::format("{}: no secret can be read from {}: {}.", option, where, reason));
}

std::vector<CLI::Option *> add_secret(CLI::App &app, SecretSource &source,
                                      std::initializer_list<SecretOption> options) {
    std::vector<CLI::Option *> added;
    for (const auto &option : options) {
        auto *own = add_source(app, source, option);
        for (auto *other : added)
            own->excludes(other);
        added.push_back(own);
    }
    return added;
}

std::optional<SecretSource> descriptor_source(const std::string &option,
                                              const std::string &number) {
    if (!is_descriptor(number))
        return std::nullopt;
    return SecretSource{&kind_of("-fd"), option, number};
}

} // namespace kavro_cli
