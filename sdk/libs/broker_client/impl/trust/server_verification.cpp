#include "trust/server_verification.h"

#include "trust/host_name.h"
#include "trust/key_length.h"
#include "trust/stapled_status.h"
#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <openssl/ssl.h>

namespace kavro {

namespace {

const char *spelled(bool value) {
    return value ? "TRUE" : "FALSE";
}

OpenSslText one_line(const X509_NAME *name) {
    return OpenSslText(X509_NAME_oneline(name, nullptr, 0));
}

/// By the names' texts: names that differ in case only are two, though OpenSSL compares them as
/// one.
bool is_self_signed(const X509 *certificate) {
    const OpenSslText subject = one_line(X509_get_subject_name(certificate));
    const OpenSslText issuer = one_line(X509_get_issuer_name(certificate));
    return subject && issuer && std::string_view(subject.get()) == issuer.get();
}

} // namespace

void ServerVerification::set_platform_verifier(std::shared_ptr<ICertVerifier> verifier) {
    platform_verifier_ = verifier ? std::move(verifier) : std::make_shared<AlwaysBadCertVerifier>();
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
    try {
        if (connect_securely_)
            judge_certificate(rules, preverified, context);
        else
            check_key(context);
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
    facts.platform_trusted = !preverified && platform_verifier_->verify(certificate);
    facts.key_long_enough = key_long_enough(certificate, rules == Rules::view);
    facts.pinned = pinned_key(context);

    Judgement judgement;
    if (rules == Rules::view)
        judge_for_view(facts, certificate, judgement);
    else
        judgement = judge_pbp(facts, verdict_);
    if (judgement.accepted)
        platform_verifier_->add(certificate);
    log_result(rules == Rules::view ? "verify_server_view" : "verify_server_pbp", facts, judgement);
}

/// All that is asked without verification.
void ServerVerification::check_key(X509_STORE_CTX *context) {
    const int depth = X509_STORE_CTX_get_error_depth(context);
    leaf_seen_ = leaf_seen_ || depth == 0;
    chain_.set_cert(static_cast<std::size_t>(depth), X509_STORE_CTX_get_current_cert(context));
    if (pinned_key(context) == PinnedKey::is_not_shown)
        refuse(verdict_, CERTIFICATE_ERROR_PIN_MISMATCH);
}

void ServerVerification::judge_status(SSL *tls) {
    if (!connect_securely_ || verdict_.outcome == VerificationOutcome::failed)
        return;
    const StapledStatus status = stapled_status(tls);
    const X509 *const leaf = SSL_get0_peer_certificate(tls);
    if (status == StapledStatus::revoked)
        refuse(verdict_, CERTIFICATE_ERROR_REVOKED_BY_STAPLE);
    else if (status == StapledStatus::none && (status_required_ || !leaf || must_be_stapled(leaf)))
        refuse(verdict_, CERTIFICATE_ERROR_NO_STAPLE);
}

/// Of the server's own certificate, whichever the call is about.
PinnedKey ServerVerification::pinned_key(X509_STORE_CTX *context) const {
    if (pins_.empty())
        return PinnedKey::nothing;
    return has_pinned_key(X509_STORE_CTX_get0_cert(context), pins_) ? PinnedKey::is_shown
                                                                    : PinnedKey::is_not_shown;
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
    const bool accepted = verdict_.outcome == VerificationOutcome::passed ||
                          verdict_.outcome == VerificationOutcome::not_checked;
    return accepted && judges_server() && !leaf_seen_ ? VerificationOutcome::failed
                                                      : verdict_.outcome;
}

} // namespace kavro
