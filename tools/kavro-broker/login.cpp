#include "login.h"

#include "dialog_login.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kavro_cli {
namespace {

constexpr int most_tries = 3;

/// More steps than any log-in has: a broker that goes on asking is not followed for ever.
constexpr int most_steps = 32;

bool may_be_tried_again(const Failure &failure) {
    static constexpr kavro_broker_result mendable[] = {
        KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD, KAVRO_BROKER_ERR_AUTH_WEAK_PASSWORD,
        KAVRO_BROKER_ERR_AUTH_OAUTH_CODE_INVALID, KAVRO_BROKER_ERR_AUTH_DIALOG_INVALID_USER_ENTRY,
        KAVRO_BROKER_ERR_AUTH_INVALID_FIELD_BUTTON_ID};
    return std::ranges::find(mendable, failure.code) != std::end(mendable);
}

} // namespace

void Login::run() {
    int refusals = 0;
    for (int step = 0; step < most_steps; ++step) {
        const auto method = session_.auth_method();
        if (method == KAVRO_BROKER_AUTH_METHOD_NONE)
            return;
        try {
            answer(method);
            refusals = 0;
        } catch (const Failure &failure) {
            if (!may_be_tried_again(failure) || ++refusals == most_tries ||
                answers_.prompts == nullptr)
                throw;
            answers_.prompts->say(failure.what());
            answers_.prompts->say(failure.broker_message);
            if (failure.code == KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD)
                password_.clear();
        }
    }
    throw Failure(ExitStatus::protocol, "ENDLESS_LOG_IN", "The broker does not stop asking.");
}

void Login::answer(uint32_t method) {
    switch (method) {
    case KAVRO_BROKER_AUTH_METHOD_PASSWORD:
        return answer_password();
    case KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED:
        return answer_expired_password();
    case KAVRO_BROKER_AUTH_METHOD_DISCLAIMER:
        return answer_disclaimer();
    case KAVRO_BROKER_AUTH_METHOD_OAUTH:
        return answer_oauth();
    case KAVRO_BROKER_AUTH_METHOD_DIALOG:
        return answer_dialog(session_, answers_);
    default:
        throw Failure(ExitStatus::authentication, "UNSUPPORTED_LOG_IN",
                      fmt::format("The broker asks for a kind of log-in that this program does not "
                                  "know ({}).",
                                  method));
    }
}

void Login::answer_password() {
    find_user();
    find_domain();
    if (answers_.password)
        password_ = *std::exchange(answers_.password, std::nullopt);
    else
        password_ = answers_.ask("a password", "--password-fd")
                        .secret(fmt::format("Password for {}", user_));
    session_.send_password(user_, domain_, password_);
}

void Login::answer_expired_password() {
    if (!user_found_) {
        find_user();
        find_domain();
    }
    if (answers_.password)
        password_ = *std::exchange(answers_.password, std::nullopt);
    if (password_.empty())
        password_ = answers_.ask("the old password", "--password-fd").secret("Old password");
    session_.send_new_password(user_, domain_, password_, new_password());
}

void Login::answer_disclaimer() {
    if (answers_.accept_disclaimer)
        return session_.send_disclaimer(true);
    auto &prompts = answers_.ask("a disclaimer to be accepted", "--accept-disclaimer");
    prompts.say(session_.disclaimer());
    session_.send_disclaimer(prompts.agree("Do you accept this?"));
}

void Login::answer_oauth() {
    if (answers_.oauth_code)
        return session_.send_oauth_code(*std::exchange(answers_.oauth_code, std::nullopt));
    session_.send_oauth_code(answers_.ask("an OAuth code", "--oauth-code-fd").secret("Code"));
}

void Login::find_user() {
    user_ = answers_.user ? *answers_.user
                          : answers_.ask("a user name", "--user").text("User name", user_);
    user_found_ = true;
}

void Login::find_domain() {
    if (answers_.domain) {
        domain_ = *answers_.domain;
        return;
    }
    const auto domains = session_.domains();
    if (domains.size() == 1) {
        domain_ = domains.front();
        return;
    }
    auto &prompts = answers_.ask(
        domains.empty() ? "a domain" : fmt::format("a domain ({})", fmt::join(domains, ", ")),
        "--domain");
    if (domains.empty()) {
        domain_ = prompts.text("Domain", domain_);
        return;
    }
    const auto previous = std::ranges::find(domains, domain_);
    const auto preset = previous == domains.end() ? 0 : previous - domains.begin();
    domain_ = domains[prompts.choice("Domain", domains, static_cast<std::size_t>(preset))];
}

Secret Login::new_password() {
    if (answers_.new_password)
        return *std::exchange(answers_.new_password, std::nullopt);
    auto &prompts = answers_.ask("a new password", "--new-password-fd");
    prompts.say("The password has expired.");
    for (;;) {
        auto first = prompts.secret("New password");
        if (first == prompts.secret("New password again"))
            return first;
        prompts.say("The two are not the same.");
    }
}

} // namespace kavro_cli
