#include "kavro/src/authenticate.h"

namespace kavro {

namespace {

constexpr ResultRow complete = {"AUTH_SUCCESSFUL_AND_COMPLETE", ERROR_CODE_NONE};
constexpr ResultRow incomplete = {"AUTH_SUCCESSFUL_AND_INCOMPLETE", ERROR_CODE_NONE};
constexpr ResultRow done_before = {"AUTH_DONE_PREVIOUSLY", ERROR_CODE_NONE};
constexpr ResultRow unknown_user = {"AUTH_FAILED_UNKNOWN_USERNAME_OR_PASSWORD",
                                    ERROR_CODE_AUTH_UNKNOWN_USERNAME_PASSWORD};
constexpr ResultRow no_resource = {"AUTH_FAILED_USER_HAS_NO_RESOURCE",
                                   ERROR_CODE_AUTH_USER_HAS_NO_RESOURCE};
constexpr ResultRow unexpected_method = {"AUTH_FAILED_UNEXPECTED_METHOD",
                                         ERROR_CODE_PROTOCOL_UNSUPPORTED_REQUEST};

constexpr ResultRow password_rows[] = {
    complete,
    incomplete,
    unknown_user,
    done_before,
    {"AUTH_FAILED_EXPIRED_PASSWORD", ERROR_CODE_NONE},
    no_resource,
    unexpected_method,
    {"AUTH_FAILED_ACCESS_DENIED", ERROR_CODE_AUTH_FAILED_ACCESS_DENIED},
};

constexpr ResultRow dialog_rows[] = {
    complete,
    incomplete,
    done_before,
    no_resource,
    unexpected_method,
    {"AUTH_FAILED_DIALOG_INVALID_USER_ENTRY", AUTH_FAILED_DIALOG_INVALID_USER_ENTRY},
    {"AUTH_FAILED_INVALID_FIELD_BUTTON_ID", AUTH_FAILED_INVALID_FIELD_BUTTON_ID},
    unknown_user,
};

constexpr ResultRow disclaimer_rows[] = {
    complete,
    incomplete,
    done_before,
    unexpected_method,
    {"AUTH_FAILED_DISCLAIMER_REJECTED", ERROR_CODE_AUTH_DISCLAIMER_REJECTED},
    no_resource,
};

constexpr ResultRow oauth_rows[] = {
    complete,
    incomplete,
    {"AUTH_FAILED_OAUTH_CODE_INVALID", ERROR_CODE_AUTH_OAUTH_CODE_INVALID},
    {"AUTH_FAILED_OAUTH_TOKEN_INVALID", ERROR_CODE_AUTH_OAUTH_TOKEN_INVALID},
    {"AUTH_FAILED_OAUTH_TOKEN_SCOPE", ERROR_CODE_AUTH_FAILED_OAUTH_TOKEN_SCOPE},
    unexpected_method,
    no_resource,
    done_before,
};

constexpr ResultRow password_update_rows[] = {
    {"PSWD_UPDATE_SUCCESSFUL_AUTH_COMPLETE", ERROR_CODE_NONE},
    {"PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE", ERROR_CODE_NONE},
    {"PSWD_UPDATE_FAILED_ALREADY_AUTHENTICATED", ERROR_CODE_NONE},
    {"PSWD_UPDATE_FAILED_UNKNOWN_USERNAME_OR_PASSWORD", ERROR_CODE_AUTH_UNKNOWN_USERNAME_PASSWORD},
    {"PSWD_UPDATE_FAILED_WEAK_PASSWORD", ERROR_CODE_AUTH_WEAK_PASSWORD},
    {"PSWD_UPDATE_FAILED_MAX_RETRIES_EXCEEDED", ERROR_CODE_AUTH_MAX_RETRIES_EXCEEDED},
    {"PSWD_UPDATE_FAILED_NOT_SUPPORTED", ERROR_CODE_AUTH_NOT_SUPPORTED},
    {"PSWD_UPDATE_FAILED_DC_ERROR", ERROR_CODE_AUTH_DOMAIN_CONTROLLER_ERROR},
};

/// What an id that is no failure leads to.
struct Success {
    std::string_view id;
    std::string_view next{}; ///< keyword of the method; empty where the answer names it
    bool plain = true;       ///< all other results come with the broker's words
};

constexpr Success successes[] = {
    {complete.id, already_done},
    {incomplete.id},
    {done_before.id, already_done, false},
    {"AUTH_FAILED_EXPIRED_PASSWORD", password_expired, false},
    {"PSWD_UPDATE_SUCCESSFUL_AUTH_COMPLETE", already_done},
    {"PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE"},
    {"PSWD_UPDATE_FAILED_ALREADY_AUTHENTICATED", already_done, false},
};

BrokerResult read_result_of(Answer &answer, AuthAnswer &record) {
    const auto result = read_result(answer);
    if (!result)
        return missing_authentication(record, result.error());
    const Success *success =
        result->row != nullptr ? find_row<Success>(successes, result->row->id) : nullptr;
    BrokerResult outcome;
    if (success == nullptr || !success->plain) {
        if (!result->element.child("result-str"))
            return missing_authentication(record, "result-str");
        outcome.message = result->text();
    }
    outcome.code = code_of(answer, result->row);
    if (success == nullptr)
        return outcome;
    if (success->next.empty())
        return process_authentication_method(answer, record);
    set_method(record, success->next);
    return outcome;
}

BrokerResult read(Answer &answer, AuthAnswer &record) {
    auto variables = read_variables(answer.message.child("to-client-variables"));
    if (!variables)
        return missing_authentication(record, variables.error());
    record.auth.to_client_variables = std::move(*variables);
    return read_result_of(answer, record);
}

void write_password(RequestText &request, std::string_view user_name, std::string_view password,
                    std::string_view domain) {
    request.element("username", user_name).element("password", password).element("domain", domain);
}

void write_dialog(RequestText &request, std::span<const DialogAnswer> fields,
                  std::string_view button_id) {
    if (!fields.empty()) {
        request.open("fields");
        for (const auto &field : fields) {
            request.open("field").element("id", field.id);
            if (field.loggable)
                request.element("text", field.text);
            else
                request.secret_element("text", field.text);
            request.close("field");
        }
        request.close("fields");
    }
    request.element("button-id", button_id);
}

void write_oauth(RequestText &request, std::string_view code) {
    request.element("oauth-code", code);
}

void write_disclaimer(RequestText &request, bool accept) {
    request.element("accept", accept ? "DISCLAIMER_ACCEPTED" : "DISCLAIMER_REJECTED");
}

void write_password_update(RequestText &request, std::string_view user_name,
                           std::string_view old_password, std::string_view new_password,
                           std::string_view domain) {
    request.element("username", user_name)
        .element("old-password", old_password)
        .element("new-password", new_password)
        .element("domain", domain);
}

constexpr const char *reader = "Authentication handler";

} // namespace

// Whether an id that nobody knows counts against the request or the response is part of the
// protocol.

const Message<AuthAnswer, std::string_view, std::string_view, std::string_view> password_message = {
    .element = "authenticate",
    .method = "password",
    .write = write_password,
    .read = read,
    .answer = {.reader = reader,
               .result_reader = "Password authentication handler",
               .rows = password_rows,
               .unrecognised = ERROR_CODE_PROTOCOL_MANGLED_REQUEST},
    .completion = "cKAVRO_BROKER_CLIENT::handle_password_authentication_resp",
};

const Message<AuthAnswer, std::span<const DialogAnswer>, std::string_view> dialog_message = {
    .element = "authenticate",
    .method = "dialog",
    .write = write_dialog,
    .read = read,
    .answer = {.reader = reader,
               .result_reader = "Dialog handler",
               .rows = dialog_rows,
               .unrecognised = ERROR_CODE_PROTOCOL_MANGLED_REQUEST},
    .completion = "cKAVRO_BROKER_CLIENT::handle_dialog_authentication_resp",
};

const Message<AuthAnswer, std::string_view> oauth_message = {
    .element = "authenticate",
    .method = "oauth",
    .write = write_oauth,
    .read = read,
    .answer = {.reader = reader, .result_reader = "OAuth handler", .rows = oauth_rows},
    .completion = "cKAVRO_BROKER_CLIENT::handle_oauth_authentication_resp",
};

const Message<AuthAnswer, bool> disclaimer_message = {
    .element = "authenticate",
    .method = "disclaimer",
    .write = write_disclaimer,
    .read = read,
    .answer = {.reader = reader, .result_reader = "Disclaimer handler", .rows = disclaimer_rows},
    .completion = "cKAVRO_BROKER_CLIENT::handle_disclaimer_authentication_resp",
};

const Message<AuthAnswer, std::string_view, std::string_view, std::string_view, std::string_view>
    password_update_message = {
        .element = "update-password",
        .write = write_password_update,
        .read = read_result_of,
        .answer = {.reader = reader,
                   .result_reader = "Password update handler",
                   .rows = password_update_rows},
        .completion = "cKAVRO_BROKER_CLIENT::handle_update_password_resp",
};

} // namespace kavro
