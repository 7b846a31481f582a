#include "utils/src/cert_verifier_win.h"

#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"
#include "utils/src/cert_chain.h"
#include "utils/src/openssl_handles.h"

#include <openssl/x509.h>
#include <windows.h>

#define CERT_CHAIN_PARA_HAS_EXTRA_FIELDS
#include <wincrypt.h>

#include <cstddef>
#include <memory>

namespace kavro {
namespace {

constexpr DWORD encodings = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

struct FreeChainEngine {
    using pointer = HCERTCHAINENGINE;
    void operator()(HCERTCHAINENGINE engine) const { CertFreeCertificateChainEngine(engine); }
};
using ChainEngine = std::unique_ptr<HCERTCHAINENGINE, FreeChainEngine>;

struct FreeChain {
    void operator()(PCCERT_CHAIN_CONTEXT chain) const { CertFreeCertificateChain(chain); }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, FreeChain>;

struct FreeCertificate {
    void operator()(PCCERT_CONTEXT certificate) const { CertFreeCertificateContext(certificate); }
};
using Certificate = std::unique_ptr<const CERT_CONTEXT, FreeCertificate>;

/// Empty when the certificate cannot be encoded.
Security::cX509_CERT_CHAIN::Der encode(x509_st *certificate) {
    const int length = i2d_X509(certificate, nullptr);
    Security::cX509_CERT_CHAIN::Der der(static_cast<std::size_t>(length < 0 ? 0 : length));
    std::uint8_t *end = der.data();
    if (length < 0 || i2d_X509(certificate, &end) != length)
        der.clear();
    drain_openssl_errors();
    return der;
}

std::string display_name(PCCERT_CONTEXT certificate) {
    char name[256];
    const DWORD length = CertGetNameStringA(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr,
                                            name, sizeof name);
    return length > 1 ? printable(name) : "unknown";
}

ChainEngine create_chain_engine() {
    CERT_CHAIN_ENGINE_CONFIG settings{};
    // As every system knows it: what later ones have added behind is not used, and not known to
    // all.
    settings.cbSize = offsetof(CERT_CHAIN_ENGINE_CONFIG, hExclusiveRoot);
    HCERTCHAINENGINE engine = nullptr;
    CertCreateCertificateChainEngine(&settings, &engine);
    return ChainEngine(engine);
}

/// What a handshake waits for an issuer that Windows fetches, in milliseconds.
constexpr DWORD most_for_fetching = 5000;

/// To a server's, by the system's own engine; `store` helps with issuers.
Chain build_chain(PCCERT_CONTEXT certificate, HCERTSTORE store) {
    static char server_authentication[] = szOID_PKIX_KP_SERVER_AUTH;
    char *purposes[] = {server_authentication};
    CERT_CHAIN_PARA wanted{};
    wanted.cbSize = sizeof wanted;
    wanted.RequestedUsage = {USAGE_MATCH_TYPE_AND, {1, purposes}};
    wanted.dwUrlRetrievalTimeout = most_for_fetching;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    CertGetCertificateChain(nullptr, certificate, nullptr, store, &wanted, 0, nullptr, &chain);
    return Chain(chain);
}

} // namespace

CertVerifierWin::~CertVerifierWin() {
    if (store_ != nullptr)
        CertCloseStore(store_, 0);
}

bool CertVerifierWin::createCertificateStore() {
    broker_assert(store_ == nullptr, "CertVerifierWin::createCertificateStore");
    store_ = CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr);
    return store_ != nullptr;
}

bool CertVerifierWin::verify(x509_st *certificate) {
    const auto der = encode(certificate);
    const Certificate context(
        CertCreateCertificateContext(encodings, der.data(), static_cast<DWORD>(der.size())));
    return context != nullptr && verify_certificate(context.get()) == 0;
}

bool CertVerifierWin::add(x509_st *certificate) {
    const auto der = encode(certificate);
    if (der.empty() || (store_ == nullptr && !createCertificateStore()))
        return false;
    return CertAddEncodedCertificateToStore(store_, encodings, der.data(),
                                            static_cast<DWORD>(der.size()),
                                            CERT_STORE_ADD_USE_EXISTING, nullptr) != 0;
}

int CertVerifierWin::verify_certificate(const _CERT_CONTEXT *certificate) const {
    const std::string name = display_name(certificate);
    const ChainEngine engine = create_chain_engine();
    if (engine == nullptr) {
        log_error("verify_certificate: Failed to create windows certificate chain engine!");
        return generic_error;
    }
    const Chain chain = build_chain(certificate, store_);
    if (chain == nullptr) {
        log_error("verify_certificate: Failed to get certificate chain!");
        return generic_error;
    }
    const DWORD status = chain->TrustStatus.dwErrorStatus;
    if (status == CERT_TRUST_NO_ERROR) {
        log_info("verify_certificate: Certificate chain is valid, \"%s\" certificate is verified",
                 name.c_str());
        return 0;
    }
    log_trust_errors(status);
    log_error("verify_certificate: Certificate \"%s\" fails verification", name.c_str());
    return generic_error;
}

void log_trust_errors(std::uint32_t status) {
    // An unknown root is told only when it is all that is wrong.
    if (status == CERT_TRUST_IS_UNTRUSTED_ROOT)
        log_error("verify_certificate: Certificate chain has an untrusted root");

    static constexpr struct {
        DWORD bits;
        const char *meaning;
    } errors[] = {
        {CERT_TRUST_IS_NOT_TIME_VALID | CERT_TRUST_IS_NOT_TIME_NESTED,
         "Certificate or certificate chain has time-validity error"},
        {CERT_TRUST_IS_REVOKED, "Certificate in chain has been revoked"},
        {CERT_TRUST_IS_NOT_SIGNATURE_VALID, "Certificate in chain has invalid signature"},
        {CERT_TRUST_IS_CYCLIC, "Certificate chain has a cycle"},
        {CERT_TRUST_IS_PARTIAL_CHAIN, "Certificate chain is incomplete"},
        {CERT_TRUST_IS_NOT_VALID_FOR_USAGE,
         "A certificate in chain is not valid in its proposed usage"},
        {CERT_TRUST_REVOCATION_STATUS_UNKNOWN, "The revocation status is unknown"},
        {CERT_TRUST_CTL_IS_NOT_TIME_VALID, "A CTL used to create this chain was not time-valid"},
        {CERT_TRUST_CTL_IS_NOT_SIGNATURE_VALID,
         "A CTL used to create this chain did not have a valid signature"},
        {CERT_TRUST_CTL_IS_NOT_VALID_FOR_USAGE,
         "A CTL used to create this chain is not valid for this usage"},
    };
    for (const auto &error : errors) {
        if ((status & error.bits) != 0)
            log_error("verify_certificate: %s", error.meaning);
    }
}

} // namespace kavro
