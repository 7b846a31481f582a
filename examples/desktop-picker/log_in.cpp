#include "log_in.h"
#include "error_text.h"
#include "trust.h"

using kavro_broker::broker;

/// How one step is asked for and answered. `known` is the answer to the password step.
struct Step {
    std::uint32_t method;
    Question (*ask)(const broker &broker, const Answer &known);
    void (*send)(broker &broker, const Answer &given, const Answer &known);
};

namespace {

constexpr std::uint32_t trust = UINT32_MAX; // no method of a broker's: it comes before them all

kavro_broker::dialog_field hidden(const char *name, const char *label) {
    return {name, label, "", false, true};
}

Question form(std::string prompt, std::vector<kavro_broker::dialog_field> fields,
              const char *button) {
    return {std::move(prompt), "", std::move(fields), {{"", button, true}}};
}

/// A button for each domain that is offered.
Question ask_for_password(const broker &broker, const Answer &known) {
    auto question =
        form("Log in at " + broker.broker_info().product_name,
             {{"user", "User name", known["user"]}, hidden("password", "Password")}, "Log in");
    const auto domains = broker.auth_domains();
    if (!domains.empty())
        question.buttons.clear();
    for (const auto &domain : domains)
        question.buttons.push_back({domain, "Log in to " + domain, question.buttons.empty()});
    return question;
}

void send_password(broker &broker, const Answer &given, const Answer &) {
    broker.send_password(given["user"], given.button, given["password"]);
}

Question ask_for_new_password(const broker &, const Answer &) {
    return form("Your password has expired.",
                {hidden("new", "New password"), hidden("again", "Once more")}, "Change it");
}

void send_new_password(broker &broker, const Answer &given, const Answer &known) {
    if (given["new"] != given["again"])
        throw kavro_broker::error(KAVRO_BROKER_ERR_INVALID_PARAMETER,
                                  "The two new passwords are not the same.");
    broker.send_new_password(known["user"], known.button, known["password"], given["new"]);
}

Question show_disclaimer(const broker &broker, const Answer &) {
    return {broker.disclaimer_text(), "", {}, {{"yes", "Accept"}, {"no", "Decline"}}};
}

void send_consent(broker &broker, const Answer &given, const Answer &) {
    broker.send_accept_disclaimer(given.button == "yes");
}

Question ask_for_code(const broker &, const Answer &) {
    return form("Log in on your provider's page, and enter the code that it gives you.",
                {hidden("code", "Code")}, "Log in");
}

void send_code(broker &broker, const Answer &given, const Answer &) {
    broker.send_oauth_code(given["code"]);
}

Question show_dialog(const broker &broker, const Answer &) {
    return broker.auth_dialog();
}

void send_dialog(broker &broker, const Answer &given, const Answer &) {
    broker.send_auth_dialog(given.button, given.fields);
}

const Step steps[] = {
    {trust, ask_for_trust, trust_this_time},
    {KAVRO_BROKER_AUTH_METHOD_PASSWORD, ask_for_password, send_password},
    {KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED, ask_for_new_password, send_new_password},
    {KAVRO_BROKER_AUTH_METHOD_DISCLAIMER, show_disclaimer, send_consent},
    {KAVRO_BROKER_AUTH_METHOD_OAUTH, ask_for_code, send_code},
    {KAVRO_BROKER_AUTH_METHOD_DIALOG, show_dialog, send_dialog},
};

std::uint32_t next_method(broker &broker) {
    try {
        return broker.auth_method();
    } catch (const kavro_broker::error &error) {
        if (error.code() != KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE)
            throw;
        return trust;
    }
}

} // namespace

std::optional<Question> LogIn::next(broker &broker) {
    const auto method = next_method(broker);
    if (method == KAVRO_BROKER_AUTH_METHOD_NONE) {
        *this = {}; // no secret is kept any longer than it may be needed
        return std::nullopt;
    }
    step_ = std::find_if(std::begin(steps), std::end(steps),
                         [method](const Step &step) { return step.method == method; });
    if (step_ == std::end(steps))
        throw kavro_broker::error(KAVRO_BROKER_ERR_AUTH_NOT_SUPPORTED);
    return step_->ask(broker, *password_);
}

std::optional<Question> LogIn::go_on(broker &broker, const SharedAnswer &given) {
    if (given == nullptr)
        return next(broker);
    if (step_->method == KAVRO_BROKER_AUTH_METHOD_PASSWORD)
        password_ = given;
    try {
        step_->send(broker, given->escaped(), password_->escaped());
        return next(broker);
    } catch (const kavro_broker::error &error) {
        if (error.code() == KAVRO_BROKER_ERR_CANCELLED)
            throw;
        auto again = next(broker);
        if (again)
            again->error_text.insert(0, error_text(error) + '\n');
        return again;
    }
}
