#include "trust/client_signing.h"

#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <openssl/ssl.h>

namespace kavro {

namespace {

struct StackFree {
    void operator()(STACK_OF(X509) * stack) const { sk_X509_free(stack); }
};
/// Certificates that somebody else owns.
using Chain = std::unique_ptr<STACK_OF(X509), StackFree>;

/// Null for none, which leaves it to OpenSSL to add the issuers that are trusted here.
Chain borrowed(std::span<const X509Handle> certificates) {
    Chain chain(certificates.empty() ? nullptr : sk_X509_new_null());
    for (const X509Handle &certificate : certificates) {
        if (sk_X509_push(chain.get(), certificate.get()) == 0)
            throw_openssl_error("sk_X509_push");
    }
    return chain;
}

bool restrict_to_bare_digests(SSL *stream) {
    return SSL_set_max_proto_version(stream, TLS1_2_VERSION) == 1 &&
           SSL_set1_client_sigalgs_list(stream, "RSA+SHA256:RSA+SHA384:RSA+SHA512") == 1;
}

} // namespace

ClientSigning::ClientSigning() {
    log_debug("HttpsXmlClient::smart_card_init()");
}

bool ClientSigning::set_client_certificate(X509Handle certificate) {
    if (EVP_PKEY_is_a(X509_get0_pubkey(certificate.get()), "RSA") != 1)
        return false;
    std::vector<X509Handle> alone;
    alone.push_back(std::move(certificate));
    const auto sign = [this](std::uint16_t, auto... digest_and_signature) {
        const SigningFunction now = sign_; // it may set another
        return now && now(digest_and_signature...) == 1 ? 0 : 1;
    };
    if (!set_signing_key(std::move(alone), sign))
        return false;
    only_bare_digests_ = true;
    return true;
}

bool ClientSigning::set_signing_key(std::vector<X509Handle> certificates,
                                    SchemeSigningFunction sign) {
    EvpPkeyHandle key = external_key(certificates.front().get(), std::move(sign));
    if (!key)
        return false;
    key_ = std::move(key);
    certificates_ = std::move(certificates);
    only_bare_digests_ = false;
    return true;
}

void ClientSigning::install(SSL *stream) const {
    if (!key_)
        return;
    const std::span certificates(certificates_);
    const Chain issuers = borrowed(certificates.subspan(1));
    if ((only_bare_digests_ && !restrict_to_bare_digests(stream)) ||
        SSL_use_cert_and_key(stream, certificates.front().get(), key_.get(), issuers.get(), 1) != 1)
        throw_openssl_error("The client certificate cannot be used");
}

} // namespace kavro
