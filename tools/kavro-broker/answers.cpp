#include "answers.h"

#include "failure.h"
#include "terminal.h"

#include <fmt/format.h>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace kavro_cli {

Secret read_secret(int descriptor, const Interruption &interruption) {
    const auto failed = [descriptor](const std::string &reason) {
        return Failure(
            ExitStatus::usage, "UNREADABLE_DESCRIPTOR",
            fmt::format("No secret can be read from descriptor {}: {}.", descriptor, reason));
    };
    Secret line;
    try {
        if (!read_line(descriptor, line, interruption))
            throw failed("it is at its end");
    } catch (const std::system_error &error) {
        throw failed(error.code().message());
    }
    return line;
}

namespace {

/// The first line of a file.
Secret read_secret_of(const std::string &option, const std::string &path,
                      const Interruption &interruption) {
    const int descriptor = open(path.c_str(), O_RDONLY);
    const std::shared_ptr<void> open_file(nullptr, [descriptor](void *) { close(descriptor); });
    const auto failure = [&](const std::string &reason) {
        return Failure(ExitStatus::usage, "UNREADABLE_FILE",
                       fmt::format("{}: no secret can be read from {}: {}.", option, path, reason));
    };
    if (descriptor < 0)
        throw failure(std::generic_category().message(errno));
    try {
        if (Secret line; read_line(descriptor, line, interruption) && !line.empty())
            return line;
    } catch (const std::system_error &error) {
        throw failure(error.code().message());
    }
    throw failure("its first line is empty");
}

} // namespace

Answers::Answers(const LoginOptions &options, Prompts *prompts_or_null,
                 const Interruption &interruption)
    : user(options.user),
      domain(options.domain),
      button(options.button),
      accept_disclaimer(options.accept_disclaimer),
      prompts(prompts_or_null) {
    if (options.password_descriptor)
        password = read_secret(*options.password_descriptor, interruption);
    if (options.password_file)
        password = read_secret_of("--password-file", *options.password_file, interruption);
    if (options.new_password_descriptor)
        new_password = read_secret(*options.new_password_descriptor, interruption);
    if (options.oauth_code_descriptor)
        oauth_code = read_secret(*options.oauth_code_descriptor, interruption);
    for (const auto &[field, descriptor] : options.answer_descriptors)
        secret_fields.insert_or_assign(field, read_secret(descriptor, interruption));
    for (const auto &[field, value] : options.answers)
        plain_fields.insert_or_assign(field, Secret(value));
}

Prompts &Answers::ask(const std::string &what, const std::string &option) const {
    if (prompts == nullptr)
        throw Failure(
            ExitStatus::no_answer, "NO_ANSWER",
            fmt::format("The broker asks for {}, and nobody can be asked: give {}.", what, option));
    return *prompts;
}

} // namespace kavro_cli
