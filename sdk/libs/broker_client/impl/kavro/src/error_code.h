#pragma once

#include <cstdint>

namespace kavro {

/// The codes that an operation of a broker client may report, one row a code, in the order of the
/// values from 0 on; beside each the public result code, without "KAVRO_BROKER_", that
/// broker_convert_error() makes of it. A NAMELESS code is "UNKNOWN" in the log, an INTERNAL one
/// never reaches an export. Nothing reports ERROR_CODE_RESERVED_57
/// and ERROR_CODE_UNUSED_58.
#define KAVRO_ERROR_CODES(NAMED, NAMELESS, INTERNAL)                                               \
    NAMED(ERROR_CODE_NONE, OK)                                                                     \
    NAMED(ERROR_CODE_INVALID_PARAMS, ERR_INVALID_PARAMETER)                                        \
    NAMED(ERROR_CODE_TIMEOUT, ERR_TIMEOUT)                                                         \
    NAMED(ERROR_CODE_CANCELLED, ERR_CANCELLED)                                                     \
    NAMED(ERROR_CODE_NOT_AUTHENTICATED, ERR_NOT_AUTHENTICATED)                                     \
    NAMED(ERROR_CODE_INVALID_STATE, ERR_INVALID_STATE)                                             \
    NAMED(ERROR_CODE_CONNECT_RESOLVE_FAILED, ERR_CONNECT_RESOLVE_FAILED)                           \
    NAMED(ERROR_CODE_CONNECT_FAILED, ERR_CONNECT_FAILED)                                           \
    NAMED(ERROR_CODE_CONNECT_REFUSED, ERR_CONNECT_REFUSED)                                         \
    NAMED(ERROR_CODE_CONNECT_TLS_HANDSHAKE_FAILED, ERR_TLS_HANDSHAKE_FAILED)                       \
    NAMED(ERROR_CODE_TLS_PROTOCOL_ERROR, ERR_TLS_PROTOCOL_ERROR)                                   \
    NAMED(ERROR_CODE_SOCKET_OR_SYS_FAILURE, ERR_SOCKET_OR_SYS_FAILURE)                             \
    NAMED(ERROR_CODE_HTTP_NOT_OK, ERR_HTTP_NOT_OK)                                                 \
    NAMED(ERROR_CODE_NOT_IMPLEMENTED, ERR_NOT_IMPLEMENTED)                                         \
    NAMED(ERROR_CODE_CERTIFICATE_FAILED, ERR_CERTIFICATE_FAILED)                                   \
    NAMED(ERROR_CODE_CERTIFICATE_FAILED_BUT_WARNABLE, ERR_CERTIFICATE_FAILED_BUT_WARNABLE)         \
    NAMED(ERROR_CODE_PROTOCOL_MANGLED_RESPONSE, ERR_MANGLED_RESPONSE)                              \
    NAMED(ERROR_CODE_PROTOCOL_MANGLED_REQUEST, ERR_PROTOCOL_GENERIC)                               \
    NAMED(ERROR_CODE_PROTOCOL_MISSING_OPTIONAL_TAG, ERR_PROTOCOL_GENERIC)                          \
    NAMED(ERROR_CODE_PROTOCOL_MISSING_CAPABILITY, ERR_PROTOCOL_GENERIC)                            \
    NAMED(ERROR_CODE_PROTOCOL_UNSUPPORTED_VERSION, ERR_UNSUPPORTED_VERSION)                        \
    NAMED(ERROR_CODE_PROTOCOL_UNSUPPORTED_REQUEST, ERR_UNSUPPORTED_REQUEST)                        \
    NAMED(ERROR_CODE_PROTOCOL_MISSING_SESSION, ERR_INVALID_PARAMETER)                              \
    NAMED(ERROR_CODE_PROTOCOL_INVALID_SESSION, ERR_INVALID_STATE)                                  \
    NAMED(ERROR_CODE_PROTOCOL_BROKER_SYS_FAILED, ERR_BROKER_SYS_FAILED)                            \
    NAMED(ERROR_CODE_PROTOCOL_BROKER_RESP_FAILED, ERR_BROKER_RESP_FAILED)                          \
    NAMED(ERROR_CODE_PROTOCOL_AGENT_FAILED, ERR_AGENT_FAILED)                                      \
    NAMED(ERROR_CODE_PROTOCOL_GATEWAY_FAILED, ERR_GATEWAY_FAILED)                                  \
    NAMED(ERROR_CODE_PROTOCOL_CM_FAILED, ERR_CM_FAILED)                                            \
    NAMED(ERROR_CODE_PROTOCOL_GENERIC, ERR_PROTOCOL_GENERIC)                                       \
    NAMED(ERROR_CODE_AUTH_BLOCKED, ERR_AUTH_BLOCKED)                                               \
    NAMED(ERROR_CODE_AUTH_UNKNOWN_USERNAME_PASSWORD, ERR_AUTH_UNKNOWN_USERNAME_PASSWORD)           \
    NAMED(ERROR_CODE_AUTH_USER_HAS_NO_RESOURCE, ERR_AUTH_USER_HAS_NO_RESOURCE)                     \
    NAMED(ERROR_CODE_AUTH_FAILED_ACCESS_DENIED, ERR_AUTH_ACCESS_DENIED)                            \
    INTERNAL(ERROR_CODE_AUTH_FAILED_EXPIRED_PASSWORD)                                              \
    NAMED(ERROR_CODE_AUTH_DISCLAIMER_REJECTED, ERR_AUTH_DISCLAIMER_REJECTED)                       \
    NAMED(ERROR_CODE_AUTH_WEAK_PASSWORD, ERR_AUTH_WEAK_PASSWORD)                                   \
    NAMED(ERROR_CODE_AUTH_MAX_RETRIES_EXCEEDED, ERR_AUTH_MAX_RETRIES_EXCEEDED)                     \
    NAMED(ERROR_CODE_AUTH_NOT_SUPPORTED, ERR_AUTH_NOT_SUPPORTED)                                   \
    NAMED(ERROR_CODE_AUTH_DOMAIN_CONTROLLER_ERROR, ERR_AUTH_DOMAIN_CONTROLLER_ERROR)               \
    NAMED(ERROR_CODE_AUTH_OAUTH_CODE_INVALID, ERR_AUTH_OAUTH_CODE_INVALID)                         \
    NAMED(ERROR_CODE_AUTH_OAUTH_TOKEN_INVALID, ERR_AUTH_OAUTH_TOKEN_INVALID)                       \
    NAMED(ERROR_CODE_AUTH_FAILED_OAUTH_TOKEN_SCOPE, ERR_AUTH_OAUTH_TOKEN_SCOPE)                    \
    NAMED(ERROR_CODE_AUTH_CERTIFICATE_REJECTED, ERR_AUTH_CERTIFICATE_REJECTED)                     \
    NAMELESS(AUTH_FAILED_DIALOG_INVALID_USER_ENTRY, ERR_AUTH_DIALOG_INVALID_USER_ENTRY)            \
    NAMELESS(AUTH_FAILED_INVALID_FIELD_BUTTON_ID, ERR_AUTH_INVALID_FIELD_BUTTON_ID)                \
    NAMED(ERROR_CODE_VM_LIST_NO_ENTITLEMENT, ERR_VM_LIST_NO_ENTITLEMENT)                           \
    INTERNAL(ERROR_CODE_VM_LIST_NO_USER)                                                           \
    NAMED(ERROR_CODE_CONNECT_DESKTOP_INVALID_PARAMETER, ERR_CONNECT_DESKTOP_FAILED)                \
    INTERNAL(ERROR_CODE_CONNECT_DESKTOP_NO_USER)                                                   \
    NAMED(ERROR_CODE_CONNECT_DESKTOP_NO_LICENSE, ERR_CONNECT_DESKTOP_NO_LICENSE)                   \
    NAMED(ERROR_CODE_CONNECT_DESKTOP_LAUNCH_FAILED, ERR_CONNECT_DESKTOP_FAILED)                    \
    NAMELESS(ALLOC_PENDING_TRY_AGAIN, ERR_CONNECT_DESKTOP_PENDING)                                 \
    NAMELESS(OP_FAILED_OPERATION_NOT_SUPPORTED, ERR_DESKTOP_OPERATION_NOT_SUPPORTED)               \
    NAMELESS(OP_FAILED_TO_EXECUTE, ERR_DESKTOP_OPERATION_FAILED)                                   \
    NAMED(ERROR_CODE_SESSION_PROVISION_TIMEOUT, ERR_SESSION_PROVISION_TIMEOUT)                     \
    NAMED(ERROR_CODE_SESSION_PROVISION_SERVER_CONNECT_FAILED,                                      \
          ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED)                                             \
    NAMELESS(ERROR_CODE_RESERVED_57, ERR_CONNECT_DESKTOP_710)                                      \
    INTERNAL(ERROR_CODE_UNUSED_58)                                                                 \
    NAMED(ERROR_CODE_PROXY_FAILED, ERR_PROXY_FAILED)                                               \
    NAMED(ERROR_CODE_PROXY_AUTH_REQUIRED, ERR_PROXY_AUTH_REQUIRED)

#define KAVRO_VALUE(code) code,
#define KAVRO_VALUE_WITH_PUBLIC(code, public_name) code,
enum eERROR_CODE : std::uint32_t {
    KAVRO_ERROR_CODES(KAVRO_VALUE_WITH_PUBLIC, KAVRO_VALUE_WITH_PUBLIC, KAVRO_VALUE)
};
#undef KAVRO_VALUE
#undef KAVRO_VALUE_WITH_PUBLIC

} // namespace kavro
