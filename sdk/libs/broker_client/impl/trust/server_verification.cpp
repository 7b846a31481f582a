#include "trust/server_verification.h"

#include "trust/host_name.h"
#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

namespace kavro {

namespace {

constexpr int min_rsa_bits = 1024;
constexpr int min_ec_bits = 163;

const char *spelled(bool value) {
    return value ? "TRUE" : "FALSE";
}

bool is_self_signed(const X509 *certificate) {
    return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) ==
           0;
}

/// One kind of key, and how long it must be. Logged as the kind that it is.
bool is_long_enough(const char *kind, int bits, int minimum) {
    if (bits >= minimum) {
        log_verbose("Valid certificate %s key length=%d", kind, bits);
        return true;
    }
    broker_log(LogCategory::general, LogSeverity::info, generic_error,
               "Certificate invalid: %s key length=%d < MIN %d", kind, bits, minimum);
    return false;
}

bool refuse_key(const char *reason) {
    broker_log(LogCategory::general, LogSeverity::info, generic_error, "%s", reason);
    return false;
}

/// The exact length in bits counts: a modulus of 1023 bits fills as many bytes as one of 1024.
bool key_long_enough(const X509 *certificate, bool rsa_only) {
    const EVP_PKEY *key = X509_get0_pubkey(certificate);
    if (key == nullptr)
        return refuse_key("Certificate invalid: unable to extract key");
    const int type = EVP_PKEY_base_id(key);
    if (type == EVP_PKEY_RSA)
        return is_long_enough("RSA", EVP_PKEY_bits(key), min_rsa_bits);
    if (rsa_only)
        return refuse_key("Certificate invalid: key type != RSA");
    if (type == EVP_PKEY_EC)
        return is_long_enough("EC", EVP_PKEY_bits(key), min_ec_bits);
    broker_log(LogCategory::general, LogSeverity::info, generic_error, "Unknown key type: %d",
               type);
    return false;
}

} // namespace

void ServerVerification::set_platform_verifier(std::shared_ptr<ICertVerifier> verifier) {
    platform_verifier_ = std::move(verifier);
}

void ServerVerification::begin(std::string host, bool connect_securely) {
    host_ = std::move(host);
    connect_securely_ = connect_securely;
    leaf_seen_ = false;
    verdict_ = {};
    verdict_.outcome =
        connect_securely ? VerificationOutcome::passed : VerificationOutcome::not_checked;
    chain_ = {};
}

bool ServerVerification::verify_server_pbp(bool preverified, X509_STORE_CTX *context) noexcept {
    return verify(Rules::pbp, preverified, context);
}

bool ServerVerification::verify_server_view(bool preverified, X509_STORE_CTX *context) noexcept {
    return verify(Rules::view, preverified, context);
}

bool ServerVerification::verify(Rules rules, bool preverified, X509_STORE_CTX *context) noexcept {
    log_debug("HttpsXmlClient::%s( preverified=%s ), security_mode=%s",
              rules == Rules::view ? "verify_server_view" : "verify_server_pbp",
              spelled(preverified), spelled(connect_securely_));
    if (!connect_securely_)
        return true;
    try {
        judge_certificate(rules, preverified, context);
    } catch (...) {
        verdict_.outcome = VerificationOutcome::failed; // nothing is thrown through the TLS library
    }
    return true;
}

void ServerVerification::judge_certificate(Rules rules, bool preverified, X509_STORE_CTX *context) {
    X509 *certificate = X509_STORE_CTX_get_current_cert(context);
    CertificateFacts facts;
    facts.preverified = preverified;
    facts.depth = X509_STORE_CTX_get_error_depth(context);
    facts.error = X509_STORE_CTX_get_error(context);
    facts.error_text = X509_verify_cert_error_string(facts.error);
    chain_.set_cert(static_cast<std::size_t>(facts.depth), certificate);
    const std::string subject = Security::one_line_name(X509_get_subject_name(certificate));
    if (rules == Rules::view)
        log_debug("HttpsXmlClient::verify_server_view() validating '%s'", subject.c_str());
    else
        log_debug("HttpsXmlClient::verify_server_pbp() validating '%s' (depth %d)", subject.c_str(),
                  facts.depth);

    leaf_seen_ = leaf_seen_ || facts.depth == 0;
    facts.self_signed = is_self_signed(certificate);
    facts.host_matches = fits_host(context, host_);
    facts.platform_trusted =
        !preverified && platform_verifier_ != nullptr && platform_verifier_->verify(certificate);
    facts.key_long_enough = key_long_enough(certificate, rules == Rules::view);

    Judgement judgement;
    if (rules == Rules::view)
        judge_for_view(facts, certificate, judgement);
    else
        judgement = judge_pbp(facts, verdict_);
    if (judgement.accepted && platform_verifier_ != nullptr)
        platform_verifier_->add(certificate);
    log_result(rules == Rules::view ? "verify_server_view" : "verify_server_pbp", facts, judgement);
}

void ServerVerification::judge_for_view(CertificateFacts &facts, X509 *certificate,
                                        Judgement &judgement) {
    CertStoreCache cache;
    if (facts.depth == 0) {
        cache.load();
        facts.stored = cache.lookup(host_, certificate);
    }
    judgement = judge_view(facts, verdict_);
    if (judgement.to_be_stored) {
        cache.store(host_, certificate, judgement.stored_as_accepted);
        cache.save();
    }
}

void ServerVerification::log_result(const char *function, const CertificateFacts &facts,
                                    const Judgement &judgement) const {
    log_info("%s result is %s, pre=%s sys=%s hn=%s kl=%s ocsp=%s sscl=%s error[%d]=%d", function,
             outcome_name(verdict_.outcome), spelled(facts.preverified),
             spelled(facts.platform_trusted), spelled(judgement.host_ok),
             spelled(facts.key_long_enough), "TRUE", spelled(verdict_.self_signed_single),
             facts.depth, static_cast<int>(verdict_.codes[static_cast<std::size_t>(facts.depth)]));
}

VerificationOutcome ServerVerification::outcome() const {
    if (verdict_.outcome == VerificationOutcome::passed && !leaf_seen_)
        return VerificationOutcome::failed;
    return verdict_.outcome;
}

} // namespace kavro
