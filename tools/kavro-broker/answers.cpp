#include "answers.h"

#include "failure.h"

#include <fmt/format.h>

namespace kavro_cli {

Answers::Answers(const LoginOptions &options, Prompts *prompts_or_null,
                 const Interruption &interruption)
    : user(options.user),
      domain(options.domain),
      button(options.button),
      accept_disclaimer(options.accept_disclaimer),
      prompts(prompts_or_null) {
    for (const auto &[source, secret] : {std::pair{&options.password, &password},
                                         {&options.new_password, &new_password},
                                         {&options.oauth_code, &oauth_code}})
        if (*source)
            *secret = source->read(interruption);
    for (const auto &[field, source] : options.secret_answers)
        secret_fields.insert_or_assign(field, source.read(interruption));
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
