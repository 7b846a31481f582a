#include "utils/src/cert_verifier_win.h"
#include "utils/src/system_trust.h"

#include <windows.h>

#include <wincrypt.h>

namespace kavro {
namespace {

void append_store(Security::cX509_CERT_CHAIN &list, const char *name) {
    const HCERTSTORE store = CertOpenSystemStoreA(0, name);
    if (store == nullptr)
        return;
    PCCERT_CONTEXT certificate = nullptr;
    while ((certificate = CertEnumCertificatesInStore(store, certificate)) != nullptr)
        list.append_der(
            {certificate->pbCertEncoded, certificate->pbCertEncoded + certificate->cbCertEncoded});
    CertCloseStore(store, 0);
}

} // namespace

Security::cX509_CERT_CHAIN system_trust_anchors() {
    Security::cX509_CERT_CHAIN anchors;
    for (const char *store : {"CA", "ROOT"})
        append_store(anchors, store);
    return anchors;
}

std::shared_ptr<ICertVerifier> platform_verifier() {
    return std::make_shared<CertVerifierWin>();
}

} // namespace kavro
