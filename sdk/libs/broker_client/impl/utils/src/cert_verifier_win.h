#pragma once

#include "utils/src/cert_verifier.h"

#include <cstdint>

struct _CERT_CONTEXT;

namespace kavro {

/// Asks Windows whether it trusts a certificate. Those that were remembered help to complete the
/// chains of others, but are no anchors.
class CertVerifierWin final : public ICertVerifier {
public:
    CertVerifierWin() = default;
    ~CertVerifierWin() override;
    CertVerifierWin(const CertVerifierWin &) = delete;
    CertVerifierWin &operator=(const CertVerifierWin &) = delete;

    /// Opens the store for what is remembered; once only. add() does it when it is first needed.
    bool createCertificateStore();

    bool verify(x509_st *certificate) override;
    bool add(x509_st *certificate) override;

    /// 0 when the certificate's chain is valid, else -500.
    int verify_certificate(const _CERT_CONTEXT *certificate) const;

private:
    void *store_ = nullptr;
};

/// Says in the log what these bits of a chain's trust status (CERT_TRUST_...) mean.
void log_trust_errors(std::uint32_t status);

} // namespace kavro
