#include "error_codes.h"

#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"

#include <algorithm>
#include <array>
#include <optional>

namespace kavro {

namespace {

struct ErrorRow {
    eERROR_CODE code;
    const char *name; ///< null when the code has none
    std::optional<kavro_broker_result> public_code;
};

#define NAMED(code) code, #code

/// One row per internal code, in the order of their values.
constexpr std::array error_rows = {
    ErrorRow{NAMED(ERROR_CODE_NONE), KAVRO_BROKER_OK},
    ErrorRow{NAMED(ERROR_CODE_INVALID_PARAMS), KAVRO_BROKER_ERR_INVALID_PARAMETER},
    ErrorRow{NAMED(ERROR_CODE_TIMEOUT), KAVRO_BROKER_ERR_TIMEOUT},
    ErrorRow{NAMED(ERROR_CODE_CANCELLED), KAVRO_BROKER_ERR_CANCELLED},
    ErrorRow{NAMED(ERROR_CODE_NOT_AUTHENTICATED), KAVRO_BROKER_ERR_NOT_AUTHENTICATED},
    ErrorRow{NAMED(ERROR_CODE_INVALID_STATE), KAVRO_BROKER_ERR_INVALID_STATE},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_RESOLVE_FAILED), KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_FAILED), KAVRO_BROKER_ERR_CONNECT_FAILED},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_REFUSED), KAVRO_BROKER_ERR_CONNECT_REFUSED},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_TLS_HANDSHAKE_FAILED), KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED},
    ErrorRow{NAMED(ERROR_CODE_TLS_PROTOCOL_ERROR), KAVRO_BROKER_ERR_TLS_PROTOCOL_ERROR},
    ErrorRow{NAMED(ERROR_CODE_SOCKET_OR_SYS_FAILURE), KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE},
    ErrorRow{NAMED(ERROR_CODE_HTTP_NOT_OK), KAVRO_BROKER_ERR_HTTP_NOT_OK},
    ErrorRow{NAMED(ERROR_CODE_NOT_IMPLEMENTED), KAVRO_BROKER_ERR_NOT_IMPLEMENTED},
    ErrorRow{NAMED(ERROR_CODE_CERTIFICATE_FAILED), KAVRO_BROKER_ERR_CERTIFICATE_FAILED},
    ErrorRow{NAMED(ERROR_CODE_CERTIFICATE_FAILED_BUT_WARNABLE),
             KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_MANGLED_RESPONSE), KAVRO_BROKER_ERR_MANGLED_RESPONSE},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_MANGLED_REQUEST), KAVRO_BROKER_ERR_PROTOCOL_GENERIC},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_MISSING_OPTIONAL_TAG), KAVRO_BROKER_ERR_PROTOCOL_GENERIC},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_MISSING_CAPABILITY), KAVRO_BROKER_ERR_PROTOCOL_GENERIC},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_UNSUPPORTED_VERSION), KAVRO_BROKER_ERR_UNSUPPORTED_VERSION},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_UNSUPPORTED_REQUEST), KAVRO_BROKER_ERR_UNSUPPORTED_REQUEST},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_MISSING_SESSION), KAVRO_BROKER_ERR_INVALID_PARAMETER},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_INVALID_SESSION), KAVRO_BROKER_ERR_INVALID_STATE},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_BROKER_SYS_FAILED), KAVRO_BROKER_ERR_BROKER_SYS_FAILED},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_BROKER_RESP_FAILED), KAVRO_BROKER_ERR_BROKER_RESP_FAILED},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_AGENT_FAILED), KAVRO_BROKER_ERR_AGENT_FAILED},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_GATEWAY_FAILED), KAVRO_BROKER_ERR_GATEWAY_FAILED},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_CM_FAILED), KAVRO_BROKER_ERR_CM_FAILED},
    ErrorRow{NAMED(ERROR_CODE_PROTOCOL_GENERIC), KAVRO_BROKER_ERR_PROTOCOL_GENERIC},
    ErrorRow{NAMED(ERROR_CODE_AUTH_BLOCKED), KAVRO_BROKER_ERR_AUTH_BLOCKED},
    ErrorRow{NAMED(ERROR_CODE_AUTH_UNKNOWN_USERNAME_PASSWORD),
             KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD},
    ErrorRow{NAMED(ERROR_CODE_AUTH_USER_HAS_NO_RESOURCE),
             KAVRO_BROKER_ERR_AUTH_USER_HAS_NO_RESOURCE},
    ErrorRow{NAMED(ERROR_CODE_AUTH_FAILED_ACCESS_DENIED), KAVRO_BROKER_ERR_AUTH_ACCESS_DENIED},
    ErrorRow{NAMED(ERROR_CODE_AUTH_FAILED_EXPIRED_PASSWORD), std::nullopt},
    ErrorRow{NAMED(ERROR_CODE_AUTH_DISCLAIMER_REJECTED), KAVRO_BROKER_ERR_AUTH_DISCLAIMER_REJECTED},
    ErrorRow{NAMED(ERROR_CODE_AUTH_WEAK_PASSWORD), KAVRO_BROKER_ERR_AUTH_WEAK_PASSWORD},
    ErrorRow{NAMED(ERROR_CODE_AUTH_MAX_RETRIES_EXCEEDED),
             KAVRO_BROKER_ERR_AUTH_MAX_RETRIES_EXCEEDED},
    ErrorRow{NAMED(ERROR_CODE_AUTH_NOT_SUPPORTED), KAVRO_BROKER_ERR_AUTH_NOT_SUPPORTED},
    ErrorRow{NAMED(ERROR_CODE_AUTH_DOMAIN_CONTROLLER_ERROR),
             KAVRO_BROKER_ERR_AUTH_DOMAIN_CONTROLLER_ERROR},
    ErrorRow{NAMED(ERROR_CODE_AUTH_OAUTH_CODE_INVALID), KAVRO_BROKER_ERR_AUTH_OAUTH_CODE_INVALID},
    ErrorRow{NAMED(ERROR_CODE_AUTH_OAUTH_TOKEN_INVALID), KAVRO_BROKER_ERR_AUTH_OAUTH_TOKEN_INVALID},
    ErrorRow{NAMED(ERROR_CODE_AUTH_FAILED_OAUTH_TOKEN_SCOPE),
             KAVRO_BROKER_ERR_AUTH_OAUTH_TOKEN_SCOPE},
    ErrorRow{NAMED(ERROR_CODE_AUTH_CERTIFICATE_REJECTED),
             KAVRO_BROKER_ERR_AUTH_CERTIFICATE_REJECTED},
    ErrorRow{AUTH_FAILED_DIALOG_INVALID_USER_ENTRY, nullptr,
             KAVRO_BROKER_ERR_AUTH_DIALOG_INVALID_USER_ENTRY},
    ErrorRow{AUTH_FAILED_INVALID_FIELD_BUTTON_ID, nullptr,
             KAVRO_BROKER_ERR_AUTH_INVALID_FIELD_BUTTON_ID},
    ErrorRow{NAMED(ERROR_CODE_VM_LIST_NO_ENTITLEMENT), KAVRO_BROKER_ERR_VM_LIST_NO_ENTITLEMENT},
    ErrorRow{NAMED(ERROR_CODE_VM_LIST_NO_USER), std::nullopt},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_DESKTOP_INVALID_PARAMETER),
             KAVRO_BROKER_ERR_CONNECT_DESKTOP_FAILED},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_DESKTOP_NO_USER), std::nullopt},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_DESKTOP_NO_LICENSE),
             KAVRO_BROKER_ERR_CONNECT_DESKTOP_NO_LICENSE},
    ErrorRow{NAMED(ERROR_CODE_CONNECT_DESKTOP_LAUNCH_FAILED),
             KAVRO_BROKER_ERR_CONNECT_DESKTOP_FAILED},
    ErrorRow{ALLOC_PENDING_TRY_AGAIN, nullptr, KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING},
    ErrorRow{OP_FAILED_OPERATION_NOT_SUPPORTED, nullptr,
             KAVRO_BROKER_ERR_DESKTOP_OPERATION_NOT_SUPPORTED},
    ErrorRow{OP_FAILED_TO_EXECUTE, nullptr, KAVRO_BROKER_ERR_DESKTOP_OPERATION_FAILED},
    ErrorRow{NAMED(ERROR_CODE_SESSION_PROVISION_TIMEOUT),
             KAVRO_BROKER_ERR_SESSION_PROVISION_TIMEOUT},
    ErrorRow{NAMED(ERROR_CODE_SESSION_PROVISION_SERVER_CONNECT_FAILED),
             KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED},
    ErrorRow{ERROR_CODE_RESERVED_57, nullptr, KAVRO_BROKER_ERR_CONNECT_DESKTOP_710},
};

#undef NAMED

constexpr bool rows_stand_in_order() {
    for (std::size_t i = 0; i < error_rows.size(); ++i) {
        if (error_rows[i].code != i)
            return false;
    }
    return error_rows.size() == ERROR_CODE_RESERVED_57 + 1;
}
static_assert(rows_stand_in_order());

struct VerdictRow {
    std::uint32_t verdict;
    const char *name;
};

#define VERDICT(name)                                                                              \
    VerdictRow {                                                                                   \
        KAVRO_BROKER_CERTIFICATE_##name, "KAVRO_BROKER_CERTIFICATE_" #name                         \
    }

constexpr std::array verdict_rows = {
    VERDICT(OK),
    VERDICT(UNABLE_TO_GET_ISSUER),
    VERDICT(UNABLE_TO_GET_CRL),
    VERDICT(UNABLE_TO_DECRYPT_SIGNATURE),
    VERDICT(UNABLE_TO_DECRYPT_CRL_SIGNATURE),
    VERDICT(UNABLE_TO_DECODE_ISSUER_KEY),
    VERDICT(SIGNATURE_FAILURE),
    VERDICT(CRL_SIGNATURE_FAILURE),
    VERDICT(NOT_YET_VALID),
    VERDICT(EXPIRED),
    VERDICT(CRL_NOT_YET_VALID),
    VERDICT(CRL_EXPIRED),
    VERDICT(SELF_SIGNED),
    VERDICT(SELF_SIGNED_IN_CHAIN),
    VERDICT(UNABLE_TO_VERIFY_LEAF),
    VERDICT(REVOKED),
    VERDICT(INVALID_CA),
    VERDICT(INVALID_PURPOSE),
    VERDICT(UNTRUSTED),
    VERDICT(REJECTED),
    VERDICT(RESERVED_20),
    VERDICT(ISSUER_MISMATCH),
    VERDICT(KEY_USAGE_NO_CERT_SIGN),
    VERDICT(UNABLE_TO_GET_CRL_ISSUER),
    VERDICT(RESERVED_24),
    VERDICT(KEY_USAGE_NO_CRL_SIGN),
    VERDICT(RESERVED_26),
    VERDICT(KEY_TOO_SHORT),
    VERDICT(HOST_NAME_MISMATCH),
    VERDICT(OTHER),
};

#undef VERDICT

} // namespace

const char *error_code_name(std::uint32_t code) {
    if (code >= error_rows.size() || error_rows[code].name == nullptr)
        return "UNKNOWN";
    return error_rows[code].name;
}

kavro_broker_result broker_convert_error(std::uint32_t code) {
    if (code < error_rows.size() && error_rows[code].public_code)
        return *error_rows[code].public_code;
    log_debug("%s: Unknown error code (%i) coming from ConnectionBrokerClient",
              "broker_convert_error", static_cast<int>(code));
    broker_assert_failed("broker_convert_error");
}

std::uint32_t convert_from_auth_result_value(AuthMethod method) {
    static constexpr std::array<std::uint32_t, 12> public_values = {0,  1, 2, 7,  8, 9,
                                                                    10, 3, 4, 11, 5, 6};
    const auto index = static_cast<std::uint32_t>(method);
    broker_assert(index < public_values.size(), "convert_from_auth_result_value");
    return public_values[index];
}

std::uint32_t convert_certificate_verdict(std::uint32_t verdict) {
    if (verdict <= 11 || (verdict >= 25 && verdict <= 28))
        return verdict;
    if (verdict >= 13 && verdict <= 24)
        return verdict - 1;
    return KAVRO_BROKER_CERTIFICATE_OTHER;
}

const char *certificate_verdict_name(std::uint32_t verdict) {
    const auto *row = std::ranges::find(verdict_rows, verdict, &VerdictRow::verdict);
    return row != verdict_rows.end() ? row->name : "UNKNOWN";
}

} // namespace kavro
