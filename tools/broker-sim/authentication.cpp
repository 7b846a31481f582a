// hello, authenticate and update-password: the way to an authenticated session.
#include "broker_state.h"

#include <algorithm>

namespace broker_sim {
namespace {

using Phase = Session::Phase;

/// What a method thinks of the client's answer. Without a result id the step is passed.
struct Verdict {
    std::string_view result_id{};
    std::string_view text{};
    bool starts_again = false;
};

constexpr Verdict wrong_password{"AUTH_FAILED_UNKNOWN_USERNAME_OR_PASSWORD",
                                 "Unknown user name or password"};
constexpr Verdict wrong_dialog_id{"AUTH_FAILED_INVALID_FIELD_BUTTON_ID",
                                  "The dialog has no such field or button"};

const AuthenticationStep &current_step(const BrokerState &state, const Session &session) {
    return state.scenario.authentication[session.step];
}

User *find_user(BrokerState &state, const std::string &username, const std::string &domain) {
    const auto user = std::ranges::find_if(state.scenario.users, [&](const User &known) {
        return known.username == username && known.domain == domain;
    });
    return user == state.scenario.users.end() ? nullptr : &*user;
}

/// The user whom these credentials name, if the password is right.
User *find_user(BrokerState &state, const Message &message, const std::string &password_element) {
    User *const user = find_user(state, message.required("username"), message.required("domain"));
    return user && user->password == message.required(password_element) ? user : nullptr;
}

Verdict judge_password(BrokerState &state, Session &session, const Message &message) {
    User *const user = find_user(state, message, "password");
    if (!user)
        return wrong_password;
    session.user = user;
    if (user->blocked)
        session.phase = Phase::blocked;
    else if (user->password_expired) {
        session.phase = Phase::password_expired;
        return {"AUTH_FAILED_EXPIRED_PASSWORD", "The password has expired"};
    }
    return {};
}

Verdict judge_disclaimer(BrokerState &, Session &, const Message &message) {
    if (message.required("accept") == "DISCLAIMER_ACCEPTED")
        return {};
    return {"AUTH_FAILED_DISCLAIMER_REJECTED", "The disclaimer was not accepted"};
}

Verdict judge_dialog(BrokerState &state, Session &session, const Message &message) {
    const Dialog &dialog = current_step(state, session).dialog;
    const auto button =
        std::ranges::find(dialog.buttons, message.required("button-id"), &DialogButton::id);
    if (button == dialog.buttons.end())
        return wrong_dialog_id;

    std::map<std::string, std::string> answers;
    if (const auto fields = message.element.get_child_optional("fields"))
        for (const auto &[name, field] : *fields)
            if (name == "field")
                answers[field.get<std::string>("id", "")] = field.get<std::string>("text", "");
    for (const auto &[id, text] : answers)
        if (std::ranges::find(dialog.fields, id, &DialogField::id) == dialog.fields.end())
            return wrong_dialog_id;

    if (button->cancels)
        return {.starts_again = true};
    for (const DialogField &field : dialog.fields)
        if (!field.expected.empty() && answers[field.id] != field.expected)
            return {"AUTH_FAILED_DIALOG_INVALID_USER_ENTRY", "An entry of the dialog is wrong"};
    return {};
}

Verdict judge_oauth(BrokerState &state, Session &session, const Message &message) {
    const OAuth &oauth = current_step(state, session).oauth;
    if (message.required("oauth-code") != oauth.code)
        return {"AUTH_FAILED_OAUTH_CODE_INVALID", "The OAuth code is not valid"};
    const auto user = std::ranges::find(state.scenario.users, oauth.username, &User::username);
    session.user = user == state.scenario.users.end() ? nullptr : &*user;
    return {};
}

struct Method {
    std::string_view name;
    std::string_view keyword;
    Verdict (*judge)(BrokerState &, Session &, const Message &);
};

constexpr Method methods[] = {
    {"password", "AUTHENTICATE_VIA_PASSWORD", judge_password},
    {"disclaimer", "AUTHENTICATE_VIA_DISCLAIMER", judge_disclaimer},
    {"dialog", "AUTHENTICATE_VIA_DIALOG", judge_dialog},
    {"oauth", "AUTHENTICATE_VIA_OAUTH", judge_oauth},
};

const Method *find_method(std::string_view name) {
    const auto method = std::ranges::find(methods, name, &Method::name);
    return method == std::end(methods) ? nullptr : method;
}

bool offers(const AuthenticationStep &step, std::string_view method) {
    return std::ranges::find(step.methods, method) != step.methods.end();
}

void pass_step(const BrokerState &state, Session &session) {
    if (session.phase == Phase::blocked)
        return;
    ++session.step;
    session.phase =
        session.step < state.scenario.authentication.size() ? Phase::steps : Phase::authenticated;
}

/// Writes the success result that fits, with the demand for the next step if there is one.
void write_progress(const BrokerState &state, const Session &session, XmlWriter &xml,
                    std::string_view complete, std::string_view incomplete) {
    if (session.phase == Phase::authenticated) {
        write_result(xml, complete);
    } else {
        write_result(xml, incomplete);
        write_next_authentication(state, session, xml);
    }
}

void write_dialog(XmlWriter &xml, const Dialog &dialog) {
    const auto parameters = xml.element("dialog-parameters");
    xml.leaf("prompt", dialog.prompt);
    xml.leaf("error-text", dialog.error_text);
    {
        const auto fields = xml.element("fields");
        for (const DialogField &field : dialog.fields) {
            const auto element = xml.element("field");
            xml.leaf("id", field.id);
            xml.leaf("label", field.label);
            xml.leaf("text", field.text);
            xml.leaf("type", field.type);
            xml.leaf_unless_empty("hidden", field.hidden);
            xml.leaf_unless_empty("do-not-log", field.do_not_log);
            xml.leaf_unless_empty("text-type", field.text_type);
        }
    }
    const auto buttons = xml.element("buttons");
    for (const DialogButton &button : dialog.buttons) {
        const auto element = xml.element("button");
        xml.leaf("id", button.id);
        xml.leaf("label", button.label);
        xml.leaf("is-default", button.is_default ? "true" : "false");
    }
}

void write_methods(XmlWriter &xml, const std::vector<std::string> &names) {
    const auto list = xml.element("authentication-methods");
    for (const std::string &name : names) {
        const Method *const method = find_method(name);
        xml.leaf("method", method ? method->keyword : name);
    }
}

void write_step(XmlWriter &xml, const Scenario &scenario, const AuthenticationStep &step) {
    write_methods(xml, step.methods);
    if (offers(step, "password") && !scenario.domains.empty()) {
        const auto domains = xml.element("domains");
        for (const std::string &domain : scenario.domains)
            xml.leaf("domain", domain);
    }
    if (offers(step, "disclaimer"))
        xml.leaf("disclaimer", step.disclaimer);
    if (offers(step, "dialog"))
        write_dialog(xml, step.dialog);
}

/// What the broker thinks of an update-password request; empty when it is to be carried out.
Verdict judge_password_change(BrokerState &state, Session &session, const Message &message) {
    const PasswordChange &rules = state.scenario.password_change;
    if (session.phase == Phase::authenticated)
        return {"PSWD_UPDATE_FAILED_ALREADY_AUTHENTICATED", "The user is authenticated already"};
    if (session.phase != Phase::password_expired || !rules.supported)
        return {"PSWD_UPDATE_FAILED_NOT_SUPPORTED", "The password cannot be changed now"};

    const Verdict verdict = [&]() -> Verdict {
        if (find_user(state, message, "old-password") != session.user)
            return {"PSWD_UPDATE_FAILED_UNKNOWN_USERNAME_OR_PASSWORD", wrong_password.text};
        if (message.required("new-password").size() < rules.minimum_length)
            return {"PSWD_UPDATE_FAILED_WEAK_PASSWORD", "The new password is too short"};
        return {};
    }();
    const bool retries_used_up = session.failed_password_changes >= rules.max_retries;
    if (!verdict.result_id.empty())
        ++session.failed_password_changes;
    if (retries_used_up)
        return {"PSWD_UPDATE_FAILED_MAX_RETRIES_EXCEEDED", "Too many attempts"};
    return verdict;
}

} // namespace

bool is_authentication_method(std::string_view name) {
    return find_method(name) != nullptr;
}

void write_next_authentication(const BrokerState &state, const Session &session, XmlWriter &xml) {
    const auto next = xml.element("next-authentication");
    switch (session.phase) {
    case Phase::steps:
        return write_step(xml, state.scenario, current_step(state, session));
    case Phase::password_expired:
        return write_methods(xml, {"AUTHENTICATION_PASSWORD_EXPIRED"});
    case Phase::blocked:
        return write_methods(xml, {"AUTHENTICATION_BLOCKED"});
    case Phase::authenticated:
        return write_methods(xml, {"AUTHENTICATION_NOT_REQUIRED"});
    }
}

void hello(BrokerState &state, Session &session, const Message &message, XmlWriter &xml) {
    state.client_to_broker = read_variables(message, "client-to-broker-variables");
    if (state.scenario.authentication.empty())
        session.phase = Phase::authenticated;

    const BrokerInfo &broker = state.scenario.broker;
    {
        const auto brokers = xml.element("brokers-info");
        const auto info = xml.element("broker-info");
        xml.leaf("product-name", broker.product_name);
        xml.leaf("product-version", broker.product_version);
        xml.leaf("platform", broker.platform);
        xml.leaf("locale", broker.locale);
        xml.leaf("ip-address", broker.ip_address);
        xml.leaf("hostname", broker.hostname);
    }
    write_variables(xml, "broker-to-client-variables", broker.variables);
    write_next_authentication(state, session, xml);
}

void authenticate(BrokerState &state, Session &session, const Message &message, XmlWriter &xml) {
    if (session.phase == Phase::authenticated)
        return write_result(xml, "AUTH_DONE_PREVIOUSLY", "The user is authenticated already");

    const Method *const method = find_method(message.required("<xmlattr>.method"));
    if (session.phase != Phase::steps || !method ||
        !offers(current_step(state, session), method->name))
        return write_result(xml, "AUTH_FAILED_UNEXPECTED_METHOD",
                            "The broker asked for something else");

    const AuthenticationStep &step = current_step(state, session);
    const Verdict verdict = method->judge(state, session, message);
    if (!verdict.result_id.empty())
        return write_result(xml, verdict.result_id, verdict.text);
    if (verdict.starts_again)
        session.step = 0;
    else
        pass_step(state, session);
    write_progress(state, session, xml, "AUTH_SUCCESSFUL_AND_COMPLETE",
                   "AUTH_SUCCESSFUL_AND_INCOMPLETE");
    if (!verdict.starts_again)
        write_variables(xml, "to-client-variables", step.variables);
}

void update_password(BrokerState &state, Session &session, const Message &message, XmlWriter &xml) {
    const Verdict verdict = judge_password_change(state, session, message);
    if (!verdict.result_id.empty())
        return write_result(xml, verdict.result_id, verdict.text);
    session.user->password = message.required("new-password");
    session.user->password_expired = false;
    pass_step(state, session);
    write_progress(state, session, xml, "PSWD_UPDATE_SUCCESSFUL_AUTH_COMPLETE",
                   "PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE");
}

} // namespace broker_sim
