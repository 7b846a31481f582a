#include "staple.h"

namespace test_support {

std::string staple(const Identity &leaf, const Identity &issuer, const Identity &signer,
                   const Status &wanted) {
    ASN1_TIME *const from = X509_gmtime_adj(nullptr, wanted.from);
    ASN1_TIME *const until = wanted.until ? X509_gmtime_adj(nullptr, wanted.until) : nullptr;
    OCSP_CERTID *const id =
        OCSP_cert_to_id(wanted.named_by, leaf.certificate.get(), issuer.certificate.get());
    OCSP_BASICRESP *const basic = OCSP_BASICRESP_new();
    OCSP_basic_add1_status(basic, id, wanted.status, OCSP_REVOKED_STATUS_NOSTATUS, from, from,
                           until);
    OCSP_basic_sign(basic, signer.certificate.get(), signer.key.get(), EVP_sha256(), nullptr, 0);
    OCSP_RESPONSE *const response = OCSP_response_create(OCSP_RESPONSE_STATUS_SUCCESSFUL, basic);
    unsigned char *der = nullptr;
    const int length = i2d_OCSP_RESPONSE(response, &der);
    std::string bytes(reinterpret_cast<char *>(der), static_cast<std::size_t>(length));
    OPENSSL_free(der);
    OCSP_RESPONSE_free(response);
    OCSP_BASICRESP_free(basic);
    OCSP_CERTID_free(id);
    ASN1_TIME_free(until);
    ASN1_TIME_free(from);
    return bytes;
}

} // namespace test_support
