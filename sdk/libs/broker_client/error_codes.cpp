#include "error_codes.h"

#include "trust/certificate_error.h"
#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace kavro {

namespace {

struct ErrorRow {
    const char *name; ///< null when the code has none
    std::optional<kavro_broker_result> public_code;
};

/// By the internal code.
constexpr ErrorRow error_rows[] = {
#define NAMED(code, public_name) {#code, KAVRO_BROKER_##public_name},
#define NAMELESS(code, public_name) {nullptr, KAVRO_BROKER_##public_name},
#define INTERNAL(code) {#code, std::nullopt},
    KAVRO_ERROR_CODES(NAMED, NAMELESS, INTERNAL)
#undef NAMED
#undef NAMELESS
#undef INTERNAL
};

struct MethodRow {
    AuthMethod method;
    std::int32_t public_method;
};

constexpr MethodRow method_rows[] = {
    {AuthMethod::none, KAVRO_BROKER_AUTH_METHOD_NONE},
    {AuthMethod::password, KAVRO_BROKER_AUTH_METHOD_PASSWORD},
    {AuthMethod::password_expired, KAVRO_BROKER_AUTH_METHOD_PASSWORD_EXPIRED},
    {AuthMethod::securid, KAVRO_BROKER_AUTH_METHOD_SECURID},
    {AuthMethod::securid_next_token, KAVRO_BROKER_AUTH_METHOD_SECURID_NEXT_TOKEN},
    {AuthMethod::securid_new_pin, KAVRO_BROKER_AUTH_METHOD_SECURID_NEW_PIN},
    {AuthMethod::securid_wait, KAVRO_BROKER_AUTH_METHOD_SECURID_WAIT},
    {AuthMethod::disclaimer, KAVRO_BROKER_AUTH_METHOD_DISCLAIMER},
    {AuthMethod::reserved_8, KAVRO_BROKER_AUTH_METHOD_RESERVED_4},
    {AuthMethod::reserved_9, KAVRO_BROKER_AUTH_METHOD_RESERVED_11},
    {AuthMethod::oauth, KAVRO_BROKER_AUTH_METHOD_OAUTH},
    {AuthMethod::dialog, KAVRO_BROKER_AUTH_METHOD_DIALOG},
};

struct VerdictRow {
    std::optional<std::uint32_t> error; ///< eCERTIFICATE_ERROR
    std::uint32_t verdict;
    const char *name;
};

constexpr std::nullopt_t never = std::nullopt;

#define VERDICT(error, name)                                                                       \
    VerdictRow {                                                                                   \
        error, KAVRO_BROKER_CERTIFICATE_##name, "KAVRO_BROKER_CERTIFICATE_" #name                  \
    }

constexpr VerdictRow any_other_verdict = VERDICT(never, OTHER);

constexpr VerdictRow verdict_rows[] = {
    VERDICT(CERTIFICATE_ERROR_NONE, OK),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_GET_ISSUER, UNABLE_TO_GET_ISSUER),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_GET_CRL, UNABLE_TO_GET_CRL),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_DECRYPT_SIGNATURE, UNABLE_TO_DECRYPT_SIGNATURE),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_DECRYPT_CRL_SIGNATURE, UNABLE_TO_DECRYPT_CRL_SIGNATURE),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_DECODE_ISSUER_KEY, UNABLE_TO_DECODE_ISSUER_KEY),
    VERDICT(CERTIFICATE_ERROR_SIGNATURE_FAILURE, SIGNATURE_FAILURE),
    VERDICT(CERTIFICATE_ERROR_CRL_SIGNATURE_FAILURE, CRL_SIGNATURE_FAILURE),
    VERDICT(CERTIFICATE_ERROR_NOT_YET_VALID, NOT_YET_VALID),
    VERDICT(CERTIFICATE_ERROR_EXPIRED, EXPIRED),
    VERDICT(CERTIFICATE_ERROR_CRL_NOT_YET_VALID, CRL_NOT_YET_VALID),
    VERDICT(CERTIFICATE_ERROR_CRL_EXPIRED, CRL_EXPIRED),
    VERDICT(CERTIFICATE_ERROR_SELF_SIGNED, SELF_SIGNED),
    VERDICT(CERTIFICATE_ERROR_SELF_SIGNED_IN_CHAIN, SELF_SIGNED_IN_CHAIN),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_VERIFY_LEAF, UNABLE_TO_VERIFY_LEAF),
    VERDICT(CERTIFICATE_ERROR_REVOKED, REVOKED),
    VERDICT(CERTIFICATE_ERROR_INVALID_CA, INVALID_CA),
    VERDICT(CERTIFICATE_ERROR_INVALID_PURPOSE, INVALID_PURPOSE),
    VERDICT(CERTIFICATE_ERROR_UNTRUSTED, UNTRUSTED),
    VERDICT(CERTIFICATE_ERROR_REJECTED, REJECTED),
    VERDICT(21, RESERVED_20),
    VERDICT(CERTIFICATE_ERROR_ISSUER_MISMATCH, ISSUER_MISMATCH),
    VERDICT(CERTIFICATE_ERROR_KEY_USAGE_NO_CERT_SIGN, KEY_USAGE_NO_CERT_SIGN),
    VERDICT(CERTIFICATE_ERROR_UNABLE_TO_GET_CRL_ISSUER, UNABLE_TO_GET_CRL_ISSUER),
    VERDICT(never, RESERVED_24),
    VERDICT(CERTIFICATE_ERROR_KEY_USAGE_NO_CRL_SIGN, KEY_USAGE_NO_CRL_SIGN),
    VERDICT(26, RESERVED_26),
    VERDICT(CERTIFICATE_ERROR_KEY_TOO_SHORT, KEY_TOO_SHORT),
    VERDICT(CERTIFICATE_ERROR_HOST_NAME_MISMATCH, HOST_NAME_MISMATCH),
    any_other_verdict,
    VERDICT(CERTIFICATE_ERROR_PIN_MISMATCH, PIN_MISMATCH),
    VERDICT(CERTIFICATE_ERROR_REVOKED_BY_STAPLE, REVOKED_BY_STAPLE),
    VERDICT(CERTIFICATE_ERROR_NO_STAPLE, NO_STAPLE),
};

#undef VERDICT

} // namespace

const char *error_code_name(std::uint32_t code) {
    const char *name = code < std::size(error_rows) ? error_rows[code].name : nullptr;
    return name != nullptr ? name : "UNKNOWN";
}

kavro_broker_result broker_convert_error(std::uint32_t code) {
    if (code < std::size(error_rows) && error_rows[code].public_code)
        return *error_rows[code].public_code;
    log_debug("%s: Unknown error code (%i) coming from ConnectionBrokerClient",
              "broker_convert_error", static_cast<int>(code));
    broker_assert_failed("broker_convert_error");
}

std::uint32_t convert_from_auth_result_value(AuthMethod method) {
    const auto *row = std::ranges::find(method_rows, method, &MethodRow::method);
    broker_assert(row != std::end(method_rows), "convert_from_auth_result_value");
    return static_cast<std::uint32_t>(row->public_method);
}

std::uint32_t convert_certificate_verdict(std::uint32_t error) {
    const auto *row = std::ranges::find(verdict_rows, error, &VerdictRow::error);
    return row != std::end(verdict_rows) ? row->verdict : any_other_verdict.verdict;
}

const char *certificate_verdict_name(std::uint32_t verdict) {
    const auto *row = std::ranges::find(verdict_rows, verdict, &VerdictRow::verdict);
    return row != std::end(verdict_rows) ? row->name : "UNKNOWN";
}

} // namespace kavro
