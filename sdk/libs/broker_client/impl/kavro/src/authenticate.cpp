#include "kavro/src/authenticate.h"

#include "kavro/src/answer.h"
#include "kavro/src/request_text.h"

namespace kavro {

namespace {

/// What a result id leads to.
enum class Step { complete, next_method, done_before, password_expired, failure };

struct AuthRow {
    std::string_view id;
    Step step;
    eERROR_CODE code = ERROR_CODE_NONE;
};

constexpr AuthRow failure(std::string_view id, eERROR_CODE code) {
    return {id, Step::failure, code};
}

constexpr AuthRow successful = {"AUTH_SUCCESSFUL_AND_COMPLETE", Step::complete};
constexpr AuthRow successful_so_far = {"AUTH_SUCCESSFUL_AND_INCOMPLETE", Step::next_method};
constexpr AuthRow done_before = {"AUTH_DONE_PREVIOUSLY", Step::done_before};
constexpr AuthRow unknown_user =
    failure("AUTH_FAILED_UNKNOWN_USERNAME_OR_PASSWORD", ERROR_CODE_AUTH_UNKNOWN_USERNAME_PASSWORD);
constexpr AuthRow no_resource =
    failure("AUTH_FAILED_USER_HAS_NO_RESOURCE", ERROR_CODE_AUTH_USER_HAS_NO_RESOURCE);
constexpr AuthRow unexpected_method =
    failure("AUTH_FAILED_UNEXPECTED_METHOD", ERROR_CODE_PROTOCOL_UNSUPPORTED_REQUEST);

constexpr AuthRow password_rows[] = {
    successful,
    successful_so_far,
    unknown_user,
    done_before,
    {"AUTH_FAILED_EXPIRED_PASSWORD", Step::password_expired},
    no_resource,
    unexpected_method,
    failure("AUTH_FAILED_ACCESS_DENIED", ERROR_CODE_AUTH_FAILED_ACCESS_DENIED),
};

constexpr AuthRow dialog_rows[] = {
    successful,
    successful_so_far,
    done_before,
    no_resource,
    unexpected_method,
    failure("AUTH_FAILED_DIALOG_INVALID_USER_ENTRY", AUTH_FAILED_DIALOG_INVALID_USER_ENTRY),
    failure("AUTH_FAILED_INVALID_FIELD_BUTTON_ID", AUTH_FAILED_INVALID_FIELD_BUTTON_ID),
    unknown_user,
};

constexpr AuthRow disclaimer_rows[] = {
    successful,
    successful_so_far,
    done_before,
    unexpected_method,
    failure("AUTH_FAILED_DISCLAIMER_REJECTED", ERROR_CODE_AUTH_DISCLAIMER_REJECTED),
    no_resource,
};

constexpr AuthRow oauth_rows[] = {
    successful,
    successful_so_far,
    failure("AUTH_FAILED_OAUTH_CODE_INVALID", ERROR_CODE_AUTH_OAUTH_CODE_INVALID),
    failure("AUTH_FAILED_OAUTH_TOKEN_INVALID", ERROR_CODE_AUTH_OAUTH_TOKEN_INVALID),
    failure("AUTH_FAILED_OAUTH_TOKEN_SCOPE", ERROR_CODE_AUTH_FAILED_OAUTH_TOKEN_SCOPE),
    unexpected_method,
    no_resource,
    done_before,
};

constexpr AuthRow password_update_rows[] = {
    {"PSWD_UPDATE_SUCCESSFUL_AUTH_COMPLETE", Step::complete},
    {"PSWD_UPDATE_SUCCESSFUL_AUTH_INCOMPLETE", Step::next_method},
    {"PSWD_UPDATE_FAILED_ALREADY_AUTHENTICATED", Step::done_before},
    failure("PSWD_UPDATE_FAILED_UNKNOWN_USERNAME_OR_PASSWORD",
            ERROR_CODE_AUTH_UNKNOWN_USERNAME_PASSWORD),
    failure("PSWD_UPDATE_FAILED_WEAK_PASSWORD", ERROR_CODE_AUTH_WEAK_PASSWORD),
    failure("PSWD_UPDATE_FAILED_MAX_RETRIES_EXCEEDED", ERROR_CODE_AUTH_MAX_RETRIES_EXCEEDED),
    failure("PSWD_UPDATE_FAILED_NOT_SUPPORTED", ERROR_CODE_AUTH_NOT_SUPPORTED),
    failure("PSWD_UPDATE_FAILED_DC_ERROR", ERROR_CODE_AUTH_DOMAIN_CONTROLLER_ERROR),
};

using AuthTable = ResultTable<AuthRow>;

/// By AuthRequest. Whether an id that nobody knows counts against the request or the response is
/// part of the protocol.
constexpr AuthTable result_tables[] = {
    {"Password authentication handler", ERROR_CODE_PROTOCOL_MANGLED_REQUEST, password_rows},
    {"Dialog handler", ERROR_CODE_PROTOCOL_MANGLED_REQUEST, dialog_rows},
    {"OAuth handler", ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, oauth_rows},
    {"Disclaimer handler", ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, disclaimer_rows},
    {"Password update handler", ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, password_update_rows},
};

void set_method(AuthAnswer &answer, AuthMethod method, std::string_view keyword) {
    answer.auth.method = method;
    answer.next_authentication = next_authentication(keyword);
}

/// Whatever is no plain progress comes with the broker's words for it.
bool needs_text(const AuthRow *row) {
    return row == nullptr || (row->step != Step::complete && row->step != Step::next_method);
}

} // namespace

SecureText password_request(std::string_view protocol_version, std::string_view user_name,
                            std::string_view password, std::string_view domain) {
    RequestText request(protocol_version);
    request.line("<authenticate method=\"password\">")
        .element("username", user_name)
        .element("password", password)
        .element("domain", domain)
        .close("authenticate");
    return std::move(request).finish();
}

SecureText dialog_request(std::string_view protocol_version, std::span<const DialogAnswer> fields,
                          std::string_view button_id) {
    RequestText request(protocol_version);
    request.line("<authenticate method=\"dialog\">");
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
    request.element("button-id", button_id).close("authenticate");
    return std::move(request).finish();
}

SecureText oauth_request(std::string_view protocol_version, std::string_view code) {
    RequestText request(protocol_version);
    request.line("<authenticate method=\"oauth\">")
        .element("oauth-code", code)
        .close("authenticate");
    return std::move(request).finish();
}

SecureText disclaimer_request(std::string_view protocol_version, bool accept) {
    RequestText request(protocol_version);
    request.line("<authenticate method=\"disclaimer\">")
        .element("accept", accept ? "DISCLAIMER_ACCEPTED" : "DISCLAIMER_REJECTED")
        .close("authenticate");
    return std::move(request).finish();
}

SecureText password_update_request(std::string_view protocol_version, std::string_view user_name,
                                   std::string_view old_password, std::string_view new_password,
                                   std::string_view domain) {
    RequestText request(protocol_version);
    request.open("update-password")
        .element("username", user_name)
        .element("old-password", old_password)
        .element("new-password", new_password)
        .element("domain", domain)
        .close("update-password");
    return std::move(request).finish();
}

BrokerResult read_authentication(AuthRequest request, XmlNode message, bool oauth_enabled,
                                 AuthAnswer &answer) {
    const auto missing = [&answer](MissingTag tag) {
        answer.auth = {};
        return missing_tag(authentication_handler, tag);
    };
    if (request != AuthRequest::password_update) {
        const XmlNode variables = message.child("to-client-variables");
        if (const MissingTag tag = read_variables(variables, answer.auth.to_client_variables))
            return missing(tag);
    }
    const ResultElement result = read_result(message);
    if (result.missing != nullptr)
        return missing(result.missing);

    const AuthTable &table = result_tables[static_cast<std::size_t>(request)];
    const AuthRow *row = find_row(table.rows, result.id);
    BrokerResult outcome;
    if (needs_text(row)) {
        if (!result.element.child("result-str"))
            return missing("result-str");
        outcome.message = result.text();
    }
    if (row == nullptr) {
        log_unrecognised_result(table.handler);
        outcome.code = table.unrecognised;
        return outcome;
    }
    switch (row->step) {
    case Step::complete:
    case Step::done_before:
        set_method(answer, AuthMethod::none, "AUTHENTICATION_ALREADY_DONE");
        break;
    case Step::password_expired:
        set_method(answer, AuthMethod::password_expired, "AUTHENTICATION_PASSWORD_EXPIRED");
        break;
    case Step::next_method:
        return process_authentication_method(message, oauth_enabled, answer);
    case Step::failure:
        outcome.code = row->code;
        break;
    }
    return outcome;
}

std::string_view known_authentication_id(std::string_view id) {
    for (const AuthTable &table : result_tables) {
        if (const std::string_view known = known_id(table.rows, id); !known.empty())
            return known;
    }
    return {};
}

} // namespace kavro
