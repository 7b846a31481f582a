#include "fuzzing.h"
#include "trust/chains.h"
#include "utils/src/cert_chain.h"

#include <openssl/x509v3.h>

#include <span>

// A chain of certificates: it passes only if the TLS library trusts it by itself, it is for that
// host, and the key is long enough. The first certificate is the server's, the last the only one
// that is trusted (which may be the first), those between are sent along.

namespace {

bool has_good_key(X509 *certificate) {
    const EVP_PKEY *key = X509_get0_pubkey(certificate);
    const int type = key != nullptr ? EVP_PKEY_get_base_id(key) : EVP_PKEY_NONE;
    return (type == EVP_PKEY_RSA && EVP_PKEY_get_bits(key) >= 1024) ||
           (type == EVP_PKEY_EC && EVP_PKEY_get_bits(key) >= 163);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::vector<broker_sim::CertificatePtr> chain;
    for (const auto *end = data + size; data < end && chain.size() < 8;) {
        X509 *const certificate = d2i_X509(nullptr, &data, end - data);
        if (certificate == nullptr)
            break;
        chain.emplace_back(certificate, X509_free);
    }
    kavro::drain_openssl_errors();
    if (chain.empty())
        return 0;
    const auto further = std::span(chain).subspan(1);
    for (const bool by_view_rules : {false, true}) {
        const auto judged = trust::judge({.trusted = {chain.back()},
                                          .leaf = chain.front(),
                                          .further = {further.begin(), further.end()},
                                          .host = trust::literal_host,
                                          .by_view_rules = by_view_rules});
        if (judged.outcome != kavro::VerificationOutcome::passed)
            continue;
        X509 *const leaf = chain.front().get();
        fuzz::promise(judged.trusted_without_us, "trusted by the TLS library alone");
        fuzz::promise(X509_check_ip_asc(leaf, trust::literal_host.c_str(), 0) == 1, "right host");
        fuzz::promise(has_good_key(leaf), "a key that is long enough");
        fuzz::promise(!judged.codes.empty(), "the server's certificate was looked at");
    }
    return 0;
}
