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
constexpr const char *changed_certificate_text =
    "the certificate is unverifiable and differs from the earlier unverifiable certificate.";

constexpr std::uint32_t key_too_short = 27;
constexpr std::uint32_t host_name_mismatch = 28;
constexpr std::uint32_t any_other_error = 30;

struct CodeRow {
    int error;
    std::uint32_t code;
};

constexpr CodeRow code_rows[] = {
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT, 1},
    {X509_V_ERR_UNABLE_TO_GET_CRL, 2},
    {X509_V_ERR_UNABLE_TO_DECRYPT_CERT_SIGNATURE, 3},
    {X509_V_ERR_UNABLE_TO_DECRYPT_CRL_SIGNATURE, 4},
    {X509_V_ERR_UNABLE_TO_DECODE_ISSUER_PUBLIC_KEY, 5},
    {X509_V_ERR_CERT_SIGNATURE_FAILURE, 6},
    {X509_V_ERR_CRL_SIGNATURE_FAILURE, 7},
    {X509_V_ERR_CERT_NOT_YET_VALID, 8},
    {X509_V_ERR_CERT_HAS_EXPIRED, 9},
    {X509_V_ERR_CRL_NOT_YET_VALID, 10},
    {X509_V_ERR_CRL_HAS_EXPIRED, 11},
    {X509_V_ERR_ERROR_IN_CERT_NOT_BEFORE_FIELD, 12},
    {X509_V_ERR_ERROR_IN_CERT_NOT_AFTER_FIELD, 12},
    {X509_V_ERR_ERROR_IN_CRL_LAST_UPDATE_FIELD, 12},
    {X509_V_ERR_ERROR_IN_CRL_NEXT_UPDATE_FIELD, 12},
    {X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, 13},
    {X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN, 14},
    {X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY, 29},
    {X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE, 15},
    {X509_V_ERR_CERT_REVOKED, 16},
    {X509_V_ERR_INVALID_CA, 17},
    {X509_V_ERR_INVALID_NON_CA, 17},
    {X509_V_ERR_INVALID_PURPOSE, 18},
    {X509_V_ERR_CERT_UNTRUSTED, 19},
    {X509_V_ERR_CERT_REJECTED, 20},
    {X509_V_ERR_SUBJECT_ISSUER_MISMATCH, 22},
    {X509_V_ERR_KEYUSAGE_NO_CERTSIGN, 23},
    {X509_V_ERR_UNABLE_TO_GET_CRL_ISSUER, 24},
    {X509_V_ERR_KEYUSAGE_NO_CRL_SIGN, 25},
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

void note_code(const CertificateFacts &facts, bool host_ok, ChainVerdict &verdict) {
    const auto depth = static_cast<std::size_t>(facts.depth);
    if (verdict.codes.size() <= depth)
        verdict.codes.resize(depth + 1);
    if (!facts.trusted()) {
        verdict.codes[depth] = certificate_error_code(facts.error);
    } else if (!host_ok) {
        verdict.error_text = host_name_text;
        verdict.codes[depth] = host_name_mismatch;
    } else if (!facts.key_long_enough) {
        verdict.error_text = key_length_text;
        verdict.codes[depth] = key_too_short;
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

bool host_ok(const CertificateFacts &facts, const ChainVerdict &verdict) {
    return facts.depth != 0 || facts.host_matches || verdict.self_signed_single;
}

/// The frame of both judgements; `accept_warning` may turn a warnable fault into a plain one.
template <class AcceptWarning>
Judgement judge(const CertificateFacts &facts, ChainVerdict &verdict,
                AcceptWarning accept_warning) {
    Judgement judgement;
    judgement.host_ok = host_ok(facts, verdict);
    bool warnable = false;
    if (!facts.trusted()) {
        warnable = is_warnable(facts, verdict) && accept_warning(verdict) && facts.key_long_enough;
        verdict.error_text = facts.error_text;
    }
    judgement.accepted = judgement.host_ok && facts.key_long_enough && facts.trusted();
    lower(verdict, warnable, judgement.accepted);
    note_code(facts, judgement.host_ok, verdict);
    return judgement;
}

} // namespace

const char *outcome_name(VerificationOutcome outcome) {
    static constexpr const char *names[] = {"NOT_CHECKED", "PASSED", "FAILED",
                                            "FAILED_BUT_WARNABLE"};
    return names[static_cast<std::size_t>(outcome)];
}

std::uint32_t certificate_error_code(int x509_error) {
    const auto row = std::ranges::find(code_rows, x509_error, &CodeRow::error);
    return row == std::end(code_rows) ? any_other_error : row->code;
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
