#include "trust/stapled_status.h"

#include "trust/key_length.h"
#include "utils/src/openssl_handles.h"

#include <openssl/ocsp.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace kavro {

namespace {

using Response = OpenSslHandle<OCSP_RESPONSE, OCSP_RESPONSE_free>;
using BasicResponse = OpenSslHandle<OCSP_BASICRESP, OCSP_BASICRESP_free>;
using CertificateId = OpenSslHandle<OCSP_CERTID, OCSP_CERTID_free>;
using Features = OpenSslHandle<TLS_FEATURE, TLS_FEATURE_free>;

constexpr long clock_skew = 300; // seconds
/// Of a status that does not tell when the next one is due; in seconds.
constexpr long longest_age = 24L * 60 * 60;

BasicResponse basic_response(std::string_view der) {
    auto from = reinterpret_cast<const unsigned char *>(der.data());
    const Response response(d2i_OCSP_RESPONSE(nullptr, &from, static_cast<long>(der.size())));
    if (!response || OCSP_response_status(response.get()) != OCSP_RESPONSE_STATUS_SUCCESSFUL)
        return nullptr;
    return BasicResponse(OCSP_response_get1_basic(response.get()));
}

/// By the issuer, or by a delegate of the issuer's with the purpose of signing such (RFC 6960
/// section 4.2.2.2).
bool is_properly_signed(OCSP_BASICRESP *response, STACK_OF(X509) * chain, X509_STORE *anchors) {
    X509 *signer = nullptr;
    return OCSP_basic_verify(response, chain, anchors, 0) == 1 &&
           OCSP_resp_get0_signer(response, &signer, chain) == 1 && key_long_enough(signer, false);
}

StapledStatus status_of(OCSP_BASICRESP *response, X509 *certificate, X509 *issuer) {
    // Whoever signs chooses the hash that the certificate is named by.
    for (const EVP_MD *hash : {EVP_sha1(), EVP_sha256()}) {
        const CertificateId id(OCSP_cert_to_id(hash, certificate, issuer));
        int status = V_OCSP_CERTSTATUS_UNKNOWN;
        ASN1_GENERALIZEDTIME *from = nullptr;
        ASN1_GENERALIZEDTIME *until = nullptr;
        if (!id || OCSP_resp_find_status(response, id.get(), &status, nullptr, nullptr, &from,
                                         &until) != 1)
            continue;
        if (OCSP_check_validity(from, until, clock_skew, until ? -1 : longest_age) != 1)
            return StapledStatus::none;
        if (status == V_OCSP_CERTSTATUS_REVOKED)
            return StapledStatus::revoked;
        return status == V_OCSP_CERTSTATUS_GOOD ? StapledStatus::good : StapledStatus::none;
    }
    return StapledStatus::none;
}

} // namespace

StapledStatus stapled_status(std::string_view response, STACK_OF(X509) * chain,
                             X509_STORE *anchors) {
    StapledStatus status = StapledStatus::none;
    const BasicResponse basic = basic_response(response);
    // A certificate that is an anchor itself has nobody above it who could revoke it.
    if (basic && sk_X509_num(chain) > 1 && is_properly_signed(basic.get(), chain, anchors))
        status = status_of(basic.get(), sk_X509_value(chain, 0), sk_X509_value(chain, 1));
    drain_openssl_errors();
    return status;
}

StapledStatus stapled_status(SSL *tls) {
    const char *response = nullptr;
    const long length = SSL_get_tlsext_status_ocsp_resp(tls, &response);
    STACK_OF(X509) *const chain = SSL_get0_verified_chain(tls);
    if (length <= 0 || !chain)
        return StapledStatus::none;
    return stapled_status({response, static_cast<std::size_t>(length)}, chain,
                          SSL_CTX_get_cert_store(SSL_get_SSL_CTX(tls)));
}

bool must_be_stapled(const X509 *certificate) {
    const Features features(static_cast<TLS_FEATURE *>(
        X509_get_ext_d2i(certificate, NID_tlsfeature, nullptr, nullptr)));
    for (int i = 0; features && i < sk_ASN1_INTEGER_num(features.get()); ++i)
        if (ASN1_INTEGER_get(sk_ASN1_INTEGER_value(features.get(), i)) ==
            TLSEXT_TYPE_status_request)
            return true;
    return false;
}

} // namespace kavro
