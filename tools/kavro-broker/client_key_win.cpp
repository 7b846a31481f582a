#include "certificates.h"
#include "client_key.h"
#include "failure.h"

#include <windows.h>

#include <ncrypt.h>
#include <wincrypt.h>

#include <fmt/format.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

// Certificates of the user's own store, "MY", with keys that CNG reaches: on smart cards, in the
// machine's security chip, in files of the system's.

namespace kavro_cli {

using kavro_broker::bytes;

const ClientKeyForm client_key_form = {
    "fingerprint:HEX|subject:TEXT",
    "Show this certificate of the user's store to a broker that asks for one, and sign with its "
    "key; by its SHA-256 or SHA-1, or by a part of its subject"};

namespace {

Failure failure(const std::string &sentence) {
    return {ExitStatus::usage, "CLIENT_CERTIFICATE", sentence};
}

template <auto Release>
struct ReleaseBy {
    template <class T>
    void operator()(T *object) const {
        Release(object);
    }
};
void close_store(void *store) {
    CertCloseStore(store, 0);
}
void free_certificate(const CERT_CONTEXT *certificate) {
    CertFreeCertificateContext(certificate);
}
void free_chain(const CERT_CHAIN_CONTEXT *chain) {
    CertFreeCertificateChain(chain);
}
using Store = std::unique_ptr<void, ReleaseBy<close_store>>;
using Certificate = std::unique_ptr<const CERT_CONTEXT, ReleaseBy<free_certificate>>;
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ReleaseBy<free_chain>>;

bytes der_of(const CERT_CONTEXT &certificate) {
    return {certificate.pbCertEncoded, certificate.pbCertEncoded + certificate.cbCertEncoded};
}

/// What the user says of the certificate.
class Wanted {
public:
    explicit Wanted(std::string_view text) {
        constexpr std::string_view by_fingerprint = "fingerprint:", by_subject = "subject:";
        if (text.starts_with(by_subject) && text != by_subject)
            subject_ = lower(text.substr(by_subject.size()));
        else if (text.starts_with(by_fingerprint))
            fingerprint_ = bytes_of(std::string(text.substr(by_fingerprint.size())));
        if (subject_.empty() && fingerprint_.size() != 20 && fingerprint_.size() != 32)
            throw failure("On this system a client certificate is named as fingerprint:HEX, its "
                          "SHA-256 or SHA-1, or as subject:TEXT.");
    }

    /// One that has expired, or has no key here, may have the subject of its successor.
    bool is(const CERT_CONTEXT &certificate) const {
        const bytes der = der_of(certificate);
        if (subject_.empty())
            return fingerprint_ == digest(der);
        DWORD size = 0;
        return CertGetCertificateContextProperty(&certificate, CERT_KEY_PROV_INFO_PROP_ID, nullptr,
                                                 &size) != 0 &&
               CertVerifyTimeValidity(nullptr, certificate.pCertInfo) == 0 &&
               lower(describe({{der, 0}}).front().subject).find(subject_) != std::string::npos;
    }

private:
    static std::string lower(std::string_view text) {
        std::string made(text);
        std::ranges::transform(made, made.begin(), [](unsigned char c) { return std::tolower(c); });
        return made;
    }

    static bytes bytes_of(const std::string &hexadecimal) {
        bytes made(hexadecimal.size() / 2 + 1);
        std::size_t size = 0;
        const bool read =
            OPENSSL_hexstr2buf_ex(made.data(), made.size(), &size, hexadecimal.c_str(), ':') == 1;
        made.resize(read ? size : 0);
        return made;
    }

    bytes digest(const bytes &der) const {
        bytes made(EVP_MAX_MD_SIZE);
        unsigned size = 0;
        EVP_Digest(der.data(), der.size(), made.data(), &size,
                   fingerprint_.size() == 20 ? EVP_sha1() : EVP_sha256(), nullptr);
        made.resize(size);
        return made;
    }

    std::string subject_; ///< in small letters
    bytes fingerprint_;
};

Certificate find(HCERTSTORE store, const std::string &text) {
    const Wanted wanted(text);
    std::vector<Certificate> found;
    for (const CERT_CONTEXT *at = nullptr;
         (at = CertEnumCertificatesInStore(store, at)) != nullptr;)
        if (wanted.is(*at))
            found.emplace_back(CertDuplicateCertificateContext(at));
    if (found.empty())
        throw failure(fmt::format("The user's store has no certificate for \"{}\".", text));
    std::string fingerprints;
    for (const Certificate &certificate : found)
        fingerprints += "\n  fingerprint:" + describe({{der_of(*certificate), 0}}).front().sha256;
    if (found.size() > 1)
        throw failure(fmt::format("The user's store has several certificates for \"{}\":{}", text,
                                  fingerprints));
    return std::move(found.front());
}

/// The certificate, and its issuers up to the one before the root, without fetching any.
std::vector<bytes> with_issuers(const CERT_CONTEXT &certificate) {
    std::vector<bytes> certificates{der_of(certificate)};
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    PCCERT_CHAIN_CONTEXT made = nullptr;
    if (CertGetCertificateChain(nullptr, &certificate, nullptr, certificate.hCertStore, &parameters,
                                CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL, nullptr, &made) == 0)
        return certificates;
    const Chain chain(made);
    const CERT_SIMPLE_CHAIN &simple = *chain->rgpChain[0];
    for (DWORD at = 1; at < simple.cElement; ++at) {
        const CERT_CHAIN_ELEMENT &issuer = *simple.rgpElement[at];
        if ((issuer.TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) == 0)
            certificates.push_back(der_of(*issuer.pCertContext));
    }
    return certificates;
}

const wchar_t *hash_of(const bytes &digest) {
    return digest.size() == 32   ? BCRYPT_SHA256_ALGORITHM
           : digest.size() == 48 ? BCRYPT_SHA384_ALGORITHM
                                 : BCRYPT_SHA512_ALGORITHM;
}

class StoreKey final : public ClientKey {
public:
    explicit StoreKey(const CERT_CONTEXT &certificate) : certificates_(with_issuers(certificate)) {
        DWORD kind = 0;
        BOOL is_ours = FALSE;
        // NCRYPT_KEY_HANDLE is what comes when nothing else may.
        if (CryptAcquireCertificatePrivateKey(&certificate, CRYPT_ACQUIRE_ONLY_NCRYPT_KEY_FLAG,
                                              nullptr, &key_, &kind, &is_ours) == 0)
            throw failure(
                fmt::format("The certificate's key cannot be reached ({:#010x}).", GetLastError()));
        free_ = is_ours != FALSE;
    }
    ~StoreKey() override {
        if (free_)
            NCryptFreeObject(key_);
    }
    StoreKey(const StoreKey &) = delete;
    StoreKey &operator=(const StoreKey &) = delete;

    const std::vector<bytes> &certificates() const override { return certificates_; }
    bool knows_pss() const override { return true; }

    bytes sign(std::uint16_t scheme, const bytes &digest) override {
        BCRYPT_PKCS1_PADDING_INFO bare{hash_of(digest)};
        BCRYPT_PSS_PADDING_INFO salted{hash_of(digest), static_cast<ULONG>(digest.size())};
        if (scheme >> 8 == 0x08)
            return sign(digest, &salted, BCRYPT_PAD_PSS);
        return (scheme & 0xFF) == 0x03 ? sign(digest, nullptr, 0)
                                       : sign(digest, &bare, BCRYPT_PAD_PKCS1);
    }

private:
    bytes sign(bytes digest, void *padding, DWORD flags) const {
        bytes signature(1024);
        DWORD size = 0;
        const SECURITY_STATUS status =
            NCryptSignHash(key_, padding, digest.data(), static_cast<DWORD>(digest.size()),
                           signature.data(), static_cast<DWORD>(signature.size()), &size, flags);
        if (status != ERROR_SUCCESS || size > signature.size())
            throw failure(fmt::format("The certificate's key does not sign ({:#010x}).",
                                      static_cast<unsigned>(status)));
        signature.resize(size);
        return signature;
    }

    const std::vector<bytes> certificates_;
    HCRYPTPROV_OR_NCRYPT_KEY_HANDLE key_ = 0;
    bool free_ = false;
};

} // namespace

std::unique_ptr<ClientKey> open_client_key(const ClientCertificateOptions &options, Prompts *,
                                           const Interruption &) {
    if (options.uri->starts_with("pkcs11:"))
        throw failure("This program reaches no PKCS #11 tokens on this system.");
    const Store store(CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0,
                                    CERT_SYSTEM_STORE_CURRENT_USER | CERT_STORE_READONLY_FLAG,
                                    L"MY"));
    if (!store)
        throw failure("The user's store of certificates cannot be opened.");
    return std::make_unique<StoreKey>(*find(store.get(), *options.uri));
}

} // namespace kavro_cli
