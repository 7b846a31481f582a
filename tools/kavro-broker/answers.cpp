#include "answers.h"

#include "failure.h"
#include "terminal.h"

#include <fmt/format.h>

#include <system_error>

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

Answers::Answers(const LoginOptions &options, Prompts *prompts_or_null,
                 const Interruption &interruption)
    : user(options.user),
      domain(options.domain),
      button(options.button),
      accept_disclaimer(options.accept_disclaimer),
      prompts(prompts_or_null) {
    if (options.password_descriptor)
        password = read_secret(*options.password_descriptor, interruption);
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
