#include "result_names.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kavro_cli {
namespace {

using enum ExitStatus;

#define RESULT(name) KAVRO_BROKER_##name, "KAVRO_BROKER_" #name

constexpr ResultName results[] = {
    {RESULT(OK), ok, "It worked."},
    {RESULT(ERR_INVALID_PARAMETER), usage, "The broker's address or another value cannot be used."},
    {RESULT(ERR_BUFFER_TOO_SMALL), usage, "A value is larger than expected."},
    {RESULT(ERR_TIMEOUT), timed_out, "The broker did not answer in time."},
    {RESULT(ERR_CANCELLED), cancelled, "Cancelled."},
    {RESULT(ERR_NOT_AUTHENTICATED), authentication, "The broker wants a log-in first."},
    {RESULT(ERR_INVALID_STATE), protocol, "The broker has no session for this request."},
    {RESULT(ERR_NOT_AVAILABLE), protocol, "The broker did not send this value."},
    {RESULT(ERR_NO_BROKER_FOUND), unreachable, "No broker answers at this address."},
    {RESULT(ERR_NOT_IMPLEMENTED), usage, "This kind of broker does not offer that."},
    {RESULT(ERR_CREATE_FAILED), usage, "There is no client for this kind of broker."},
    {RESULT(ERR_NO_LOG_FUNCTION), usage, "The library was not set up."},
    {RESULT(ERR_CONNECT_RESOLVE_FAILED), unreachable, "The broker's host name has no address."},
    {RESULT(ERR_CONNECT_FAILED), unreachable, "The broker cannot be reached."},
    {RESULT(ERR_CONNECT_REFUSED), unreachable, "Nobody listens on the broker's port."},
    {RESULT(ERR_TLS_HANDSHAKE_FAILED), unreachable,
     "No secure connection to the broker could be agreed on."},
    {RESULT(ERR_TLS_PROTOCOL_ERROR), unreachable, "The secure connection to the broker broke."},
    {RESULT(ERR_SOCKET_OR_SYS_FAILURE), unreachable, "The connection to the broker was lost."},
    {RESULT(ERR_MANGLED_RESPONSE), protocol, "The broker's answer cannot be understood."},
    {RESULT(ERR_HTTP_NOT_OK), protocol, "The broker's web server refused the request."},
    {RESULT(ERR_CERTIFICATE_FAILED), untrusted, "The broker's certificate is rejected."},
    {RESULT(ERR_CERTIFICATE_FAILED_BUT_WARNABLE), untrusted,
     "The broker's certificate was issued by somebody who is not known here."},
    {RESULT(ERR_UNSUPPORTED_VERSION), protocol,
     "The broker speaks another version of the protocol."},
    {RESULT(ERR_UNSUPPORTED_REQUEST), protocol, "The broker did not expect this request."},
    {RESULT(ERR_BROKER_SYS_FAILED), protocol, "The broker reports a failure of its system."},
    {RESULT(ERR_BROKER_RESP_FAILED), protocol, "The broker could not make its answer."},
    {RESULT(ERR_AGENT_FAILED), protocol, "The desktop's agent failed."},
    {RESULT(ERR_GATEWAY_FAILED), protocol, "The gateway failed."},
    {RESULT(ERR_CM_FAILED), protocol, "The connection manager failed."},
    {RESULT(ERR_PROTOCOL_GENERIC), protocol, "The broker reports an error."},
    {RESULT(ERR_AUTH_BLOCKED), authentication, "The account is blocked."},
    {RESULT(ERR_AUTH_UNKNOWN_USERNAME_PASSWORD), authentication,
     "The user name or the password is wrong."},
    {RESULT(ERR_AUTH_USER_HAS_NO_RESOURCE), authentication, "The user may use nothing here."},
    {RESULT(ERR_AUTH_ACCESS_DENIED), authentication, "Access is denied."},
    {RESULT(ERR_AUTH_DISCLAIMER_REJECTED), authentication, "The disclaimer was not accepted."},
    {RESULT(ERR_AUTH_WEAK_PASSWORD), authentication, "The new password is too weak."},
    {RESULT(ERR_AUTH_MAX_RETRIES_EXCEEDED), authentication, "There were too many attempts."},
    {RESULT(ERR_AUTH_NOT_SUPPORTED), authentication,
     "The broker offers no way to log in that is supported here."},
    {RESULT(ERR_AUTH_DOMAIN_CONTROLLER_ERROR), authentication, "The domain controller failed."},
    {RESULT(ERR_AUTH_OAUTH_CODE_INVALID), authentication, "The OAuth code is invalid."},
    {RESULT(ERR_AUTH_OAUTH_TOKEN_INVALID), authentication, "The OAuth token is invalid."},
    {RESULT(ERR_AUTH_OAUTH_TOKEN_SCOPE), authentication, "The OAuth token is for something else."},
    {RESULT(ERR_AUTH_CERTIFICATE_REJECTED), authentication, "The user's certificate is refused."},
    {RESULT(ERR_AUTH_DIALOG_INVALID_USER_ENTRY), authentication,
     "The broker does not accept what was entered."},
    {RESULT(ERR_AUTH_INVALID_FIELD_BUTTON_ID), authentication,
     "The broker does not know that field or button."},
    {RESULT(ERR_VM_LIST_NO_ENTITLEMENT), refused, "The user may use no desktop."},
    {RESULT(ERR_CONNECT_DESKTOP_NO_LICENSE), refused, "No licence is free."},
    {RESULT(ERR_CONNECT_DESKTOP_FAILED), refused, "The desktop could not be started."},
    {RESULT(ERR_CONNECT_DESKTOP_PENDING), pending,
     "The desktop is still being prepared; try again later."},
    {RESULT(ERR_SESSION_PROVISION_TIMEOUT), refused,
     "The desktop's session was not provided in time."},
    {RESULT(ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED), refused,
     "The desktop's session could not be provided."},
    {RESULT(ERR_CONNECT_DESKTOP_710), refused, "The broker refused to connect the desktop."},
    {RESULT(ERR_DESKTOP_OPERATION_NOT_SUPPORTED), refused,
     "The desktop does not offer this operation."},
    {RESULT(ERR_DESKTOP_OPERATION_FAILED), refused, "The operation did not work."},
};

#undef RESULT

struct CertificateVerdict {
    uint32_t verdict;
    const char *reason;
};

/// The verdicts that tell a user something; the rest are faults deep inside the chain.
constexpr CertificateVerdict verdicts[] = {
    {KAVRO_BROKER_CERTIFICATE_OK, "is sound; another one of its chain is not"},
    {KAVRO_BROKER_CERTIFICATE_UNABLE_TO_GET_ISSUER, "comes without its issuer's certificate"},
    {KAVRO_BROKER_CERTIFICATE_SIGNATURE_FAILURE, "has a signature that does not fit"},
    {KAVRO_BROKER_CERTIFICATE_NOT_YET_VALID, "is not valid yet"},
    {KAVRO_BROKER_CERTIFICATE_EXPIRED, "has expired"},
    {KAVRO_BROKER_CERTIFICATE_SELF_SIGNED, "is signed by itself"},
    {KAVRO_BROKER_CERTIFICATE_SELF_SIGNED_IN_CHAIN, "leads to an issuer that is not trusted here"},
    {KAVRO_BROKER_CERTIFICATE_UNABLE_TO_VERIFY_LEAF, "comes without its issuer's certificate"},
    {KAVRO_BROKER_CERTIFICATE_REVOKED, "was revoked"},
    {KAVRO_BROKER_CERTIFICATE_INVALID_CA, "was issued by somebody who may not issue any"},
    {KAVRO_BROKER_CERTIFICATE_INVALID_PURPOSE, "is meant for another purpose"},
    {KAVRO_BROKER_CERTIFICATE_UNTRUSTED, "is not trusted here"},
    {KAVRO_BROKER_CERTIFICATE_REJECTED, "is rejected here"},
    {KAVRO_BROKER_CERTIFICATE_KEY_TOO_SHORT, "has a key that is too short"},
    {KAVRO_BROKER_CERTIFICATE_HOST_NAME_MISMATCH, "is for another host name"},
    {KAVRO_BROKER_CERTIFICATE_OTHER, "was issued by somebody who is not known here"},
};

} // namespace

ResultName describe(kavro_broker_result code) {
    const auto *row = std::ranges::find(results, code, &ResultName::code);
    return row != std::end(results)
               ? *row
               : ResultName{code, "UNKNOWN", protocol, "The library reports an unknown result."};
}

const char *describe_certificate(uint32_t verdict) {
    const auto *row = std::ranges::find(verdicts, verdict, &CertificateVerdict::verdict);
    return row != std::end(verdicts) ? row->reason : "cannot be verified";
}

} // namespace kavro_cli
