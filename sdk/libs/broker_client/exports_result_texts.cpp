#include "kavro_broker_extras.h"

#include <algorithm>
#include <iterator>

// Results in words.

namespace {

/// All that is said of a public result code, here and in docs/errors.md.
struct ResultRow {
    kavro_broker_result code;
    const char *name;
    const char *sentence;
};

#define NAMED(code) KAVRO_BROKER_##code, "KAVRO_BROKER_" #code

constexpr ResultRow result_rows[] = {
    {NAMED(OK), "It worked."},
    {NAMED(ERR_INVALID_PARAMETER), "The broker's address or another value cannot be used."},
    {NAMED(ERR_BUFFER_TOO_SMALL), "A value is larger than expected."},
    {NAMED(ERR_TIMEOUT), "The broker did not answer in time."},
    {NAMED(ERR_CANCELLED), "Cancelled."},
    {NAMED(ERR_NOT_AUTHENTICATED), "The broker wants a log-in first."},
    {NAMED(ERR_INVALID_STATE), "This is not possible now."},
    {NAMED(ERR_NOT_AVAILABLE), "The broker did not send this value."},
    {NAMED(ERR_NO_BROKER_FOUND), "No broker answers at this address."},
    {NAMED(ERR_NOT_IMPLEMENTED), "This kind of broker does not offer that."},
    {NAMED(ERR_CREATE_FAILED), "There is no client for this kind of broker."},
    {NAMED(ERR_NO_LOG_FUNCTION), "The library was not set up."},
    {NAMED(ERR_CONNECT_RESOLVE_FAILED), "The broker's host name has no address."},
    {NAMED(ERR_CONNECT_FAILED), "The broker cannot be reached."},
    {NAMED(ERR_CONNECT_REFUSED), "Nobody listens on the broker's port."},
    {NAMED(ERR_TLS_HANDSHAKE_FAILED), "No secure connection to the broker could be agreed on."},
    {NAMED(ERR_TLS_PROTOCOL_ERROR), "The secure connection to the broker broke."},
    {NAMED(ERR_SOCKET_OR_SYS_FAILURE), "The connection to the broker was lost."},
    {NAMED(ERR_MANGLED_RESPONSE), "The broker's answer cannot be understood."},
    {NAMED(ERR_HTTP_NOT_OK), "The broker's web server refused the request."},
    {NAMED(ERR_PROXY_FAILED), "The proxy could not be used to reach the broker."},
    {NAMED(ERR_PROXY_AUTH_REQUIRED), "The proxy wants a log-in, or another one."},
    {NAMED(ERR_CERTIFICATE_FAILED), "The broker's certificate is rejected."},
    {NAMED(ERR_CERTIFICATE_FAILED_BUT_WARNABLE),
     "The broker's certificate was issued by somebody who is not known here."},
    {NAMED(ERR_UNSUPPORTED_VERSION), "The broker speaks another version of the protocol."},
    {NAMED(ERR_UNSUPPORTED_REQUEST), "The broker did not expect this request."},
    {NAMED(ERR_BROKER_SYS_FAILED), "The broker reports a failure of its system."},
    {NAMED(ERR_BROKER_RESP_FAILED), "The broker could not make its answer."},
    {NAMED(ERR_AGENT_FAILED), "The desktop's agent failed."},
    {NAMED(ERR_GATEWAY_FAILED), "The gateway failed."},
    {NAMED(ERR_CM_FAILED), "The connection manager failed."},
    {NAMED(ERR_PROTOCOL_GENERIC), "The broker reports an error."},
    {NAMED(ERR_AUTH_BLOCKED), "The account is blocked."},
    {NAMED(ERR_AUTH_UNKNOWN_USERNAME_PASSWORD), "The user name or the password is wrong."},
    {NAMED(ERR_AUTH_USER_HAS_NO_RESOURCE), "The user may use nothing here."},
    {NAMED(ERR_AUTH_ACCESS_DENIED), "Access is denied."},
    {NAMED(ERR_AUTH_DISCLAIMER_REJECTED), "The disclaimer was not accepted."},
    {NAMED(ERR_AUTH_WEAK_PASSWORD), "The new password is too weak."},
    {NAMED(ERR_AUTH_MAX_RETRIES_EXCEEDED), "There were too many attempts."},
    {NAMED(ERR_AUTH_NOT_SUPPORTED), "The broker offers no way to log in that is supported here."},
    {NAMED(ERR_AUTH_DOMAIN_CONTROLLER_ERROR), "The domain controller failed."},
    {NAMED(ERR_AUTH_OAUTH_CODE_INVALID), "The OAuth code is invalid."},
    {NAMED(ERR_AUTH_OAUTH_TOKEN_INVALID), "The OAuth token is invalid."},
    {NAMED(ERR_AUTH_OAUTH_TOKEN_SCOPE), "The OAuth token is for something else."},
    {NAMED(ERR_AUTH_CERTIFICATE_REJECTED), "The user's certificate is refused."},
    {NAMED(ERR_AUTH_DIALOG_INVALID_USER_ENTRY), "The broker does not accept what was entered."},
    {NAMED(ERR_AUTH_INVALID_FIELD_BUTTON_ID), "The broker does not know that field or button."},
    {NAMED(ERR_VM_LIST_NO_ENTITLEMENT), "The user may use no desktop."},
    {NAMED(ERR_CONNECT_DESKTOP_NO_LICENSE), "No licence is free."},
    {NAMED(ERR_CONNECT_DESKTOP_FAILED), "The desktop could not be started."},
    {NAMED(ERR_CONNECT_DESKTOP_PENDING), "The desktop is still being prepared; try again later."},
    {NAMED(ERR_SESSION_PROVISION_TIMEOUT), "The desktop's session was not provided in time."},
    {NAMED(ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED),
     "The desktop's session could not be provided."},
    {NAMED(ERR_CONNECT_DESKTOP_710), "The broker refused to connect the desktop."},
    {NAMED(ERR_DESKTOP_OPERATION_NOT_SUPPORTED), "The desktop does not offer this operation."},
    {NAMED(ERR_DESKTOP_OPERATION_FAILED), "The operation did not work."},
};

#undef NAMED

const ResultRow &find_row(kavro_broker_result code) {
    static constexpr ResultRow unknown = {0, "UNKNOWN", "The result is unknown."};
    const auto *row = std::ranges::find(result_rows, code, &ResultRow::code);
    return row == std::end(result_rows) ? unknown : *row;
}

} // namespace

const char *kavro_broker_result_name(kavro_broker_result code) {
    return find_row(code).name;
}

const char *kavro_broker_result_text(kavro_broker_result code) {
    return find_row(code).sentence;
}
