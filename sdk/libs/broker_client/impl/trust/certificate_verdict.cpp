#include "trust/certificate_verdict.h"

#include "utils/src/broker_log.h"

#include <openssl/x509_vfy.h>

#include <algorithm>

namespace kavro {

namespace {

constexpr const char *host_name_text =
    "the host name on the certificate is invalid or does not match.";
constexpr const char *key_length_text =
    "the RSA key length on the certificate is less than the minimum length.";
constexpr const char *pinned_key_text = "the certificate's key is none of the pinned keys.";
constexpr const char *revoked_text = "the certificate's issuer says that it is revoked.";
constexpr const char *no_staple_text =
    "the server must show the certificate's status, and shows none that counts.";
constexpr const char *changed_certificate_text =
    "the certificate is unverifiable and differs from the earlier unverifiable certificate.";

struct ErrorRow {
    int of_tls_library;
    eCERTIFICATE_ERROR error;
};

constexpr ErrorRow error_rows[] = {
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, CERTIFICATE_ERROR_UNABLE_TO_GET_ISSUER},
    {X509_V_ERR_UNABLE_TO_GET_CRL, CERTIFICATE_ERROR_UNABLE_TO_GET_CRL},
    {X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE, CERTIFICATE_ERROR_UNABLE_TO_DECRYPT_SIGNATURE},
    {X509_V_ERR_UNABLE_TO_DECRYPT_CRL_SIGNATURE, CERTIFICATE_ERROR_UNABLE_TO_DECRYPT_CRL_SIGNATURE},
    {X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY, CERTIFICATE_ERROR_UNABLE_TO_DECODE_ISSUER_KEY},
    {X509_V_ERR_CERT_SIGNATURE_FAILURE, CERTIFICATE_ERROR_SIGNATURE_FAILURE},
    {X509_V_ERR_CRL_SIGNATURE_FAILURE, CERTIFICATE_ERROR_CRL_SIGNATURE_FAILURE},
    {X509_V_ERR_CERT_NOT_YET_VALID, CERTIFICATE_ERROR_NOT_YET_VALID},
    {X509_V_ERR_CERT_HAS_EXPIRED, CERTIFICATE_ERROR_EXPIRED},
    {X509_V_ERR_CRL_NOT_YET_VALID, CERTIFICATE_ERROR_CRL_NOT_YET_VALID},
    {X509_V_ERR_CRL_HAS_EXPIRED, CERTIFICATE_ERROR_CRL_EXPIRED},
    {X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD, CERTIFICATE_ERROR_DATE_FORMAT},
    {X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD, CERTIFICATE_ERROR_DATE_FORMAT},
    {X509_V_ERR_ERROR_IN_CRL_LAST_UPDATE_FIELD, CERTIFICATE_ERROR_DATE_FORMAT},
    {X509_V_ERR_ERROR_IN_CRL_NEXT_UPDATE_FIELD, CERTIFICATE_ERROR_DATE_FORMAT},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, CERTIFICATE_ERROR_SELF_SIGNED},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, CERTIFICATE_ERROR_SELF_SIGNED_IN_CHAIN},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, CERTIFICATE_ERROR_ISSUER_UNKNOWN_HERE},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, CERTIFICATE_ERROR_UNABLE_TO_VERIFY_LEAF},
    {X509_V_ERR_CERT_REVOKED, CERTIFICATE_ERROR_REVOKED},
    {X509_V_ERR_INVALID_CA, CERTIFICATE_ERROR_INVALID_CA},
    {X509_V_ERR_INVALID_NON_CA, CERTIFICATE_ERROR_INVALID_CA},
    {X509_V_ERR_INVALID_PURPOSE, CERTIFICATE_ERROR_INVALID_PURPOSE},
    {X509_V_ERR_CERT_UNTRUSTED, CERTIFICATE_ERROR_UNTRUSTED},
    {X509_V_ERR_CERT_REJECTED, CERTIFICATE_ERROR_REJECTED},
    {X509_V_ERR_SUBJECT_ISSUER_MISMATCH, CERTIFICATE_ERROR_ISSUER_MISMATCH},
    {X509_V_ERR_KEYUSAGE_NO_CERTSIGN, CERTIFICATE_ERROR_KEY_USAGE_NO_CERT_SIGN},
    {X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER, CERTIFICATE_ERROR_UNABLE_TO_GET_CRL_ISSUER},
    {X509_V_ERR_KEYUSAGE_NO_CRL_SIGN, CERTIFICATE_ERROR_KEY_USAGE_NO_CRL_SIGN},
};

/// Whether the fault is one that the user may accept, by the kind of chain that it shows.
bool is_warnable(const CertificateFacts &facts, ChainVerdict &verdict) {
    switch (facts.error) {
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        if (facts.depth != 0 || !facts.self_signed)
            return false;
        log_info("Self signed cert detected in single cert length chain");
        return verdict.self_signed_single = true;
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        if (facts.depth == 0 || !facts.self_signed)
            return false;
        log_info("Self signed cert detected in multiple cert length chain");
        return verdict.self_signed_chain = true;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        if (facts.self_signed)
            return false;
        log_info("Unknown CA detected in chain");
        return verdict.unknown_ca = true;
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        return facts.depth == 0 && !facts.self_signed && verdict.unknown_ca;
    default:
        return false;
    }
}

void lower(ChainVerdict &verdict, bool warnable, bool accepted) {
    if (warnable && verdict.outcome != VerificationOutcome::failed)
        verdict.outcome = VerificationOutcome::failed_but_warnable;
    else if (!warnable && !accepted)
        verdict.outcome = VerificationOutcome::failed;
}

void note_code(const CertificateFacts &facts, bool trusted, bool host_ok, ChainVerdict &verdict) {
    const auto depth = static_cast<std::size_t>(facts.depth);
    if (verdict.codes.size() <= depth)
        verdict.codes.resize(depth + 1);
    if (!trusted) {
        verdict.codes[depth] = certificate_error(facts.error);
    } else if (!host_ok) {
        verdict.error_text = host_name_text;
        verdict.codes[depth] = CERTIFICATE_ERROR_HOST_NAME_MISMATCH;
    } else if (!facts.key_long_enough) {
        verdict.error_text = key_length_text;
        verdict.codes[depth] = CERTIFICATE_ERROR_KEY_TOO_SHORT;
    }
}

/// A chain is of one kind: two kinds at once in one handshake are nothing to accept by a click.
bool flags_agree(const ChainVerdict &verdict) {
    return int(verdict.self_signed_single) + int(verdict.self_signed_chain) +
               int(verdict.unknown_ca) ==
           1;
}

/// Only a chain that is one self-signed certificate is compared with what was seen before.
bool is_worth_storing(const CertificateFacts &facts, ChainVerdict &verdict) {
    if (facts.depth != 0 || !verdict.self_signed_single)
        return false;
    if (facts.stored == StoredCertificate::other_not_accepted)
        verdict.error_text = changed_certificate_text;
    return facts.stored == StoredCertificate::none ||
           facts.stored == StoredCertificate::other_not_accepted;
}

/// A self-signed certificate that the user is asked about need not name the host; one whose key is
/// pinned is accepted without a question, and must.
bool host_ok(const CertificateFacts &facts, const ChainVerdict &verdict) {
    const bool to_be_asked = verdict.self_signed_single && facts.pinned == PinnedKey::nothing;
    return facts.depth != 0 || facts.host_matches || to_be_asked;
}

/// The frame of both judgements; `accept_warning` may turn a warnable fault into a plain one.
template <class AcceptWarning>
Judgement judge(const CertificateFacts &facts, ChainVerdict &verdict,
                AcceptWarning accept_warning) {
    Judgement judgement;
    judgement.host_ok = host_ok(facts, verdict);
    bool trusted = facts.trusted();
    bool warnable = false;
    if (!trusted) {
        const bool unknown_issuer = is_warnable(facts, verdict) && accept_warning(verdict);
        trusted = unknown_issuer && facts.pinned == PinnedKey::is_shown;
        warnable = unknown_issuer && !trusted && facts.key_long_enough;
    }
    if (!trusted)
        verdict.error_text = facts.error_text;
    judgement.accepted = judgement.host_ok && facts.key_long_enough && trusted;
    lower(verdict, warnable, judgement.accepted);
    note_code(facts, trusted, judgement.host_ok, verdict);
    if (facts.pinned == PinnedKey::is_not_shown)
        refuse(verdict, CERTIFICATE_ERROR_PIN_MISMATCH);
    return judgement;
}

} // namespace

const char *outcome_name(VerificationOutcome outcome) {
    static constexpr const char *names[] = {"NOT_CHECKED", "PASSED", "FAILED",
                                            "FAILED_BUT_WARNABLE"};
    return names[static_cast<std::size_t>(outcome)];
}

eCERTIFICATE_ERROR certificate_error(int x509_error) {
    const auto row = std::ranges::find(error_rows, x509_error, &ErrorRow::of_tls_library);
    return row == std::end(error_rows) ? CERTIFICATE_ERROR_OTHER : row->error;
}

void refuse(ChainVerdict &verdict, eCERTIFICATE_ERROR error) {
    verdict.outcome = VerificationOutcome::failed;
    verdict.error_text = error == CERTIFICATE_ERROR_PIN_MISMATCH ? pinned_key_text
                         : error == CERTIFICATE_ERROR_NO_STAPLE  ? no_staple_text
                                                                 : revoked_text;
    if (verdict.codes.empty())
        verdict.codes.resize(1);
    verdict.codes[0] = error;
}

Judgement judge_pbp(const CertificateFacts &facts, ChainVerdict &verdict) {
    return judge(facts, verdict, [](const ChainVerdict &) { return true; });
}

Judgement judge_view(const CertificateFacts &facts, ChainVerdict &verdict) {
    Judgement judgement = judge(facts, verdict, flags_agree);
    const bool marked = is_worth_storing(facts, verdict);
    // After a warnable fault the TLS library goes on and reports the same certificate as good.
    judgement.stored_as_accepted =
        judgement.accepted && verdict.outcome == VerificationOutcome::passed;
    judgement.to_be_stored = facts.depth == 0 && (judgement.stored_as_accepted || marked);
    return judgement;
}

} // namespace kavro
