#include "trust/certificate_verdict.h"

#include <gtest/gtest.h>

#include <openssl/x509_vfy.h>

#include <optional>

namespace kavro {
namespace {

constexpr auto passed = VerificationOutcome::passed;
constexpr auto failed = VerificationOutcome::failed;
constexpr auto warnable = VerificationOutcome::failed_but_warnable;

constexpr int self_signed_leaf = X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT;
constexpr int self_signed_above = X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN;
constexpr int unknown_issuer = X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY;
constexpr int lone_leaf = X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE;
constexpr int expired = X509_V_ERR_CERT_HAS_EXPIRED;

constexpr const char *host_text = "the host name on the certificate is invalid or does not match.";
constexpr const char *key_text =
    "the RSA key length on the certificate is less than the minimum length.";

/// What the TLS library does not say.
enum Remarks : unsigned { self_signed = 1, wrong_host = 2, short_key = 4, vouched_for = 8 };

CertificateFacts fault(int error, int depth, unsigned remarks = 0) {
    return {.platform_trusted = (remarks & vouched_for) != 0,
            .error = error,
            .error_text = "E" + std::to_string(error),
            .depth = depth,
            .self_signed = (remarks & self_signed) != 0,
            .host_matches = (remarks & wrong_host) == 0,
            .key_long_enough = (remarks & short_key) == 0};
}

CertificateFacts good(int depth, unsigned remarks = 0) {
    CertificateFacts facts = fault(X509_V_OK, depth, remarks);
    facts.preverified = true;
    facts.error_text.clear();
    return facts;
}

CertificateFacts lone(unsigned remarks = 0) {
    return fault(self_signed_leaf, 0, self_signed | remarks);
}

CertificateFacts late(int depth, unsigned remarks = 0) {
    return fault(expired, depth, remarks);
}

using Codes = std::vector<std::uint32_t>;

} // namespace

TEST(VerdictRules, HandshakeFromCallToCall) {
    struct Case {
        const char *name;
        std::vector<CertificateFacts> calls; ///< in the order of the TLS library
        VerificationOutcome outcome;
        Codes codes;
        std::string text;
        bool accepted; ///< the certificate judged last
        std::optional<VerificationOutcome> by_view_rules = std::nullopt; ///< when they differ
    };
    const CertificateFacts root_below = fault(self_signed_above, 0, self_signed);
    const CertificateFacts root_above = fault(self_signed_above, 1, self_signed);
    const CertificateFacts unknown = fault(unknown_issuer, 0);
    const CertificateFacts unknown_root = fault(unknown_issuer, 0, self_signed);
    const CertificateFacts unknown_above = fault(unknown_issuer, 1);
    const CertificateFacts ok = good(0);
    const Case cases[] = {
        {"trusted chain", {good(2), good(1), ok}, passed, {0, 0, 0}, "", true},
        {"wrong host", {good(1), good(0, wrong_host)}, failed, {28, 0}, host_text, false},
        {"host counts at depth 0 only", {good(1, wrong_host), ok}, passed, {0, 0}, "", true},
        {"short key above", {good(1, short_key), ok}, failed, {0, 27}, key_text, true},
        {"host before key", {good(0, wrong_host | short_key)}, failed, {28}, host_text, false},
        {"self-signed", {lone(), ok}, warnable, {13}, "E18", true},
        {"its host", {lone(wrong_host), good(0, wrong_host)}, warnable, {13}, "E18", true},
        {"its key, at the fault", {lone(short_key)}, failed, {13}, "E18", false},
        {"its key", {lone(short_key), good(0, short_key)}, failed, {27}, key_text, false},
        {"by its error alone", {fault(self_signed_leaf, 0)}, failed, {13}, "E18", false},
        {"self-signed root", {root_above, ok}, warnable, {0, 14}, "E19", true},
        {"root's error below", {root_below}, failed, {14}, "E19", false},
        {"unknown issuer above", {unknown_above, ok}, warnable, {0, 29}, "E20", true},
        {"unknown issuer", {unknown, fault(lone_leaf, 0), ok}, warnable, {15}, "E21", true},
        {"unknown root", {unknown_root}, failed, {29}, "E20", false},
        {"not verified otherwise", {fault(lone_leaf, 0)}, failed, {15}, "E21", false},
        {"both", {unknown_above, good(0, wrong_host)}, failed, {28, 29}, host_text, false},
        {"failed after warnable", {unknown_above, late(0), ok}, failed, {9, 29}, "E10", true},
        {"warnable after failed", {late(1), unknown, ok}, failed, {29, 9}, "E20", true},
        {"platform vouches", {late(0, vouched_for)}, passed, {0}, "", true},
        {"not for the host", {late(0, vouched_for | wrong_host)}, failed, {28}, host_text, false},
        {"not for the key", {late(0, vouched_for | short_key)}, failed, {27}, key_text, false},
        {"faults of two kinds", {root_above, unknown}, warnable, {29, 14}, "E20", false, failed},
    };
    for (const Case &row : cases) {
        for (const bool view : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (view ? ", View" : ""));
            ChainVerdict verdict;
            Judgement last;
            for (const CertificateFacts &facts : row.calls)
                last = view ? judge_view(facts, verdict) : judge_pbp(facts, verdict);
            const auto outcome = view ? row.by_view_rules.value_or(row.outcome) : row.outcome;
            EXPECT_STREQ(outcome_name(verdict.outcome), outcome_name(outcome));
            EXPECT_EQ(verdict.codes, row.codes);
            EXPECT_EQ(verdict.error_text, row.text);
            EXPECT_EQ(last.accepted, row.accepted);
        }
    }
}

TEST(VerdictRules, ViewRemembersWhatIsWorthIt) {
    using enum StoredCertificate;
    const struct {
        const char *name;
        StoredCertificate before;
        CertificateFacts facts;
        bool stored;
    } rows[] = {
        {"trusted", other_accepted, good(0), true},
        {"trusted, above the server's", none, good(1), false},
        {"self-signed, new", none, lone(), true},
        {"self-signed, seen", same, lone(), false},
        {"self-signed, another accepted", other_accepted, lone(), false},
        {"wrong host", none, good(0, wrong_host), false},
        {"unknown issuer", other_not_accepted, fault(unknown_issuer, 0), false},
    };
    for (const auto &row : rows) {
        ChainVerdict verdict;
        CertificateFacts facts = row.facts;
        facts.stored = row.before;
        const Judgement judgement = judge_view(facts, verdict);
        EXPECT_EQ(judgement.to_be_stored, row.stored) << row.name;
        EXPECT_EQ(judgement.stored_as_accepted, facts.trusted() && facts.host_matches) << row.name;
    }
}

} // namespace kavro
