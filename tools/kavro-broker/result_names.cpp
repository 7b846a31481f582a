#include "result_names.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kavro_cli {
namespace {

using enum ExitStatus;

/// Which class a run of result codes belongs to. The first row that holds a code counts.
struct StatusRow {
    kavro_broker_result first, last;
    ExitStatus status;
};

constexpr StatusRow status_rows[] = {
    {KAVRO_BROKER_OK, KAVRO_BROKER_OK, ok},
    {KAVRO_BROKER_ERR_INVALID_PARAMETER, KAVRO_BROKER_ERR_BUFFER_TOO_SMALL, usage},
    {KAVRO_BROKER_ERR_TIMEOUT, KAVRO_BROKER_ERR_TIMEOUT, timed_out},
    {KAVRO_BROKER_ERR_CANCELLED, KAVRO_BROKER_ERR_CANCELLED, cancelled},
    {KAVRO_BROKER_ERR_NOT_AUTHENTICATED, KAVRO_BROKER_ERR_NOT_AUTHENTICATED, authentication},
    {KAVRO_BROKER_ERR_NO_BROKER_FOUND, KAVRO_BROKER_ERR_NO_BROKER_FOUND, unreachable},
    {KAVRO_BROKER_ERR_NOT_IMPLEMENTED, KAVRO_BROKER_ERR_NO_LOG_FUNCTION, usage},
    {KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED, KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE, unreachable},
    {KAVRO_BROKER_ERR_PROXY_FAILED, KAVRO_BROKER_ERR_PROXY_AUTH_REQUIRED, unreachable},
    {KAVRO_BROKER_ERR_CERTIFICATE_FAILED, KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE,
     untrusted},
    {KAVRO_BROKER_ERR_AUTH_BLOCKED, KAVRO_BROKER_ERR_AUTH_INVALID_FIELD_BUTTON_ID, authentication},
    {KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING, KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING, pending},
    {KAVRO_BROKER_ERR_VM_LIST_NO_ENTITLEMENT, KAVRO_BROKER_ERR_DESKTOP_OPERATION_FAILED, refused},
};

struct Advice {
    kavro_broker_result code;
    const char *sentence;
};

constexpr const char *list_again = "List the desktops again: this one may be gone, or not for you. "
                                   "Else ask the broker's administrator.";

/// What to do about a desktop that is not to be had.
constexpr Advice advices[] = {
    {KAVRO_BROKER_ERR_CONNECT_DESKTOP_NO_LICENSE,
     "Try again when somebody else has left, or ask the broker's administrator for more licences."},
    {KAVRO_BROKER_ERR_CONNECT_DESKTOP_FAILED, list_again},
    {KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING,
     "With --wait it is asked for again until it is ready."},
    {KAVRO_BROKER_ERR_SESSION_PROVISION_TIMEOUT, "Try again, with a longer --provision-timeout; "
                                                 "else ask the broker's administrator whether the "
                                                 "provisioning server is well."},
    {KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED,
     "The broker has sent this client on to a provisioning server: ask its administrator whether "
     "that can be reached from here. The log has more (--log-level info)."},
    {KAVRO_BROKER_ERR_CONNECT_DESKTOP_710, list_again},
    {KAVRO_BROKER_ERR_DESKTOP_OPERATION_NOT_SUPPORTED,
     "The list of desktops tells which operations each offers now."},
    {KAVRO_BROKER_ERR_DESKTOP_OPERATION_FAILED,
     "Try again; if that does not help, ask the broker's administrator."},
};

struct CertificateVerdict {
    uint32_t verdict;
    const char *reason;
};

/// The verdicts that tell a user something; the rest are faults deep inside the chain.
constexpr CertificateVerdict verdicts[] = {
    {KAVRO_BROKER_CERTIFICATE_OK, "is sound"},
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
    {KAVRO_BROKER_CERTIFICATE_PIN_MISMATCH, "has another key than the pinned one"},
    {KAVRO_BROKER_CERTIFICATE_REVOKED_BY_STAPLE, "is revoked, as its issuer says"},
    {KAVRO_BROKER_CERTIFICATE_NO_STAPLE, "comes without its issuer's word that it is not revoked"},
    {KAVRO_BROKER_CERTIFICATE_OTHER, "was issued by somebody who is not known here"},
};

} // namespace

ResultName describe(kavro_broker_result code) {
    const auto *row = std::ranges::find_if(status_rows, [code](const StatusRow &candidate) {
        return candidate.first <= code && code <= candidate.last;
    });
    const auto *advice = std::ranges::find(advices, code, &Advice::code);
    return {code, kavro_broker_result_name(code),
            row != std::end(status_rows) ? row->status : protocol, kavro_broker_result_text(code),
            advice != std::end(advices) ? advice->sentence : ""};
}

const char *describe_certificate(uint32_t verdict) {
    const auto *row = std::ranges::find(verdicts, verdict, &CertificateVerdict::verdict);
    return row != std::end(verdicts) ? row->reason : "cannot be verified";
}

} // namespace kavro_cli
