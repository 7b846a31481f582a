// The replaceable RSA method is deprecated in OpenSSL 3 and still the only way, short of a provider
// of our own, to sign with a key that is not there. All of it is in this file.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "trust/client_signing.h"

#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <openssl/rsa.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <vector>

namespace kavro {

namespace {

using RsaHandle = OpenSslHandle<RSA, RSA_free>;
using RsaMethodHandle = OpenSslHandle<RSA_METHOD, RSA_meth_free>;

/// Logs what failed and all that the TLS library has to say about it.
void report_failure(const char *what) {
    const auto log = [](const char *text) {
        broker_log(LogCategory::general, LogSeverity::banner, 0, "%s", text);
    };
    log(what);
    while (const unsigned long error = ERR_get_error()) {
        char text[256];
        ERR_error_string_n(error, text, sizeof text);
        log(text);
    }
}

/// Whatever is not a PKCS #1 signature over a digest would end up here, at a key without its
/// private half; the TLS library's own operation does not survive that.
int refuse_private_operation(int, const unsigned char *, unsigned char *, RSA *, int) {
    return -1;
}

/// The public half of the certificate's key in an object of the given method.
RsaHandle public_half(const X509 *certificate, const RSA_METHOD *method) {
    // Not that of a certificate for PSS alone, which is of another type.
    const EVP_PKEY *key = X509_get0_pubkey(certificate);
    const bool suitable = key != nullptr && EVP_PKEY_get_base_id(key) == EVP_PKEY_RSA;
    const RSA *shown = suitable ? EVP_PKEY_get0_RSA(key) : nullptr;
    if (shown == nullptr) {
        drain_openssl_errors();
        return nullptr;
    }
    const BIGNUM *modulus = nullptr;
    const BIGNUM *exponent = nullptr;
    RSA_get0_key(shown, &modulus, &exponent, nullptr);
    RsaHandle rsa(RSA_new());
    BignumHandle n(BN_dup(modulus));
    BignumHandle e(BN_dup(exponent));
    if (!rsa || RSA_set_method(rsa.get(), method) != 1 ||
        RSA_set0_key(rsa.get(), n.get(), e.get(), nullptr) != 1) {
        report_failure("RSA_new failed");
        return nullptr;
    }
    static_cast<void>(n.release()); // the key owns both now
    static_cast<void>(e.release());
    RSA_set_flags(rsa.get(), RSA_FLAG_EXT_PKEY);
    return rsa;
}

EvpPkeyHandle wrap(RsaHandle rsa) {
    EvpPkeyHandle key(EVP_PKEY_new());
    if (!key) {
        report_failure("EVP_PKEY_new failed");
        return nullptr;
    }
    if (EVP_PKEY_assign_RSA(key.get(), rsa.get()) != 1) {
        report_failure("EVP_PKEY_assign_RSA failed");
        return nullptr;
    }
    static_cast<void>(rsa.release()); // the key owns it now
    return key;
}

} // namespace

struct ClientSigning::Method {
    RsaMethodHandle rsa{RSA_meth_dup(RSA_get_default_method())};
    SigningFunction sign;

    Method() {
        if (!rsa || RSA_meth_set1_name(rsa.get(), "Moravelt") != 1)
            throw_openssl_error("RSA_meth_dup");
        RSA_meth_set_sign(rsa.get(), &Method::sign_callback);
        RSA_meth_set_priv_enc(rsa.get(), &refuse_private_operation);
        RSA_meth_set0_app_data(rsa.get(), this);
        RSA_meth_set_flags(rsa.get(), RSA_meth_get_flags(rsa.get()) | RSA_METHOD_FLAG_NO_CHECK);
    }

    static int sign_callback(int, const unsigned char *digest, unsigned digest_length,
                             unsigned char *signature, unsigned *signature_length,
                             const RSA *rsa) noexcept {
        const auto *method =
            static_cast<const Method *>(RSA_meth_get0_app_data(RSA_get_method(rsa)));
        if (!method->sign)
            return 0;
        // A signer that writes more than it says, or says more than it wrote, harms nobody else.
        const auto room = static_cast<std::size_t>(RSA_size(rsa));
        try {
            std::vector<std::uint8_t> made(room);
            std::size_t length = room;
            if (method->sign(digest, digest_length, made.data(), &length) != 1 || length != room)
                return 0;
            std::ranges::copy(made, signature);
            *signature_length = static_cast<unsigned>(length);
            return 1;
        } catch (...) {
            return 0; // nothing is thrown through the TLS library
        }
    }
};

ClientSigning::ClientSigning() : method_(std::make_unique<Method>()) {
    log_debug("HttpsXmlClient::smart_card_init()");
}

ClientSigning::~ClientSigning() = default;

void ClientSigning::set_signing_function(SigningFunction sign) {
    method_->sign = std::move(sign);
}

bool ClientSigning::set_client_certificate(X509Handle certificate) {
    RsaHandle rsa = public_half(certificate.get(), method_->rsa.get());
    if (!rsa)
        return false;
    EvpPkeyHandle key = wrap(std::move(rsa));
    if (!key)
        return false;
    key_ = std::move(key);
    certificate_ = std::move(certificate);
    return true;
}

void ClientSigning::install(SSL *stream) const {
    if (!certificate_)
        return;
    constexpr const char *signatures = "RSA+SHA256:RSA+SHA384:RSA+SHA512";
    const bool installed = SSL_set_max_proto_version(stream, TLS1_2_VERSION) == 1 &&
                           SSL_set1_client_sigalgs_list(stream, signatures) == 1 &&
                           SSL_use_certificate(stream, certificate_.get()) == 1 &&
                           SSL_use_PrivateKey(stream, key_.get()) == 1;
    if (!installed)
        throw_openssl_error("The client certificate cannot be used");
}

} // namespace kavro
