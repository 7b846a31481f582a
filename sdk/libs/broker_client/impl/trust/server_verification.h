#pragma once

#include "trust/certificate_verdict.h"
#include "trust/key_pins.h"
#include "utils/src/cert_chain.h"
#include "utils/src/cert_verifier.h"

#include <memory>
#include <string>

namespace kavro {

/// Judges the server's certificate chain during one TLS handshake.
///
/// The handshake itself is never aborted: what was found is kept, so that the caller can learn the
/// chain and the reason. The connection counts only when outcome() says so.
class ServerVerification {
public:
    /// The platform's word counts where the TLS library does not trust a certificate. Null:
    /// nobody's does, as at first.
    void set_platform_verifier(std::shared_ptr<ICertVerifier> verifier);

    /// From the next handshake on. With one, the server's own key must be among them, verified or
    /// not; one that is needs no known issuer.
    void set_key_pins(KeyPins pins) { pins_ = std::move(pins); }

    /// Whether a server must show the status of its certificate.
    void require_stapled_status(bool require) { status_required_ = require; }

    /// Prepares for the next handshake.
    void begin(std::string host, bool connect_securely);

    /// Whether the next handshake is to ask what it thinks of the server.
    bool judges_server() const { return connect_securely_ || !pins_.empty(); }

    // Called by the TLS library for every certificate of the chain, the server's own (depth 0)
    // last, and once more for every fault. Always true: the verdict is in outcome().
    bool verify_server_pbp(bool preverified, x509_store_ctx_st *context) noexcept;
    bool verify_server_view(bool preverified, x509_store_ctx_st *context) noexcept;
    /// Once the handshake is over: what the issuer says, if the server has shown it.
    void judge_status(ssl_st *tls);

    /// A secure handshake in which the server's own certificate was never judged has failed.
    VerificationOutcome outcome() const;
    const Security::cX509_CERT_CHAIN &chain() const { return chain_; }
    const std::vector<std::uint32_t> &error_codes() const { return verdict_.codes; }
    const std::string &error_text() const { return verdict_.error_text; }

private:
    enum class Rules { pbp, view };

    bool verify(Rules rules, bool preverified, x509_store_ctx_st *context) noexcept;
    void judge_certificate(Rules rules, bool preverified, x509_store_ctx_st *context);
    void check_key(x509_store_ctx_st *context);
    PinnedKey pinned_key(x509_store_ctx_st *context) const;
    void judge_for_view(CertificateFacts &facts, x509_st *certificate, Judgement &judgement);
    void log_result(const char *function, const CertificateFacts &facts,
                    const Judgement &judgement) const;

    std::shared_ptr<ICertVerifier> platform_verifier_ = std::make_shared<AlwaysBadCertVerifier>();
    KeyPins pins_;
    bool status_required_ = false;
    std::string host_;
    bool connect_securely_ = false;
    bool leaf_seen_ = false;
    ChainVerdict verdict_;
    Security::cX509_CERT_CHAIN chain_;
};

} // namespace kavro
