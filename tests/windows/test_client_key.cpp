#include "client_key.h"
#include "failure.h"
#include "minting.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <openssl/evp.h>
#include <wincrypt.h>

// How a certificate of the user's store is found.

namespace {

using namespace kavro_cli;
using namespace test_support;
using testing::HasSubstr;

/// A certificate in the user's store, said to have a key, for as long as it lives.
class Entry {
public:
    explicit Entry(const Identity &identity) {
        const auto der = der_of(identity);
        wchar_t nowhere[] = L"no such key", provider[] = L"Microsoft Software Key Storage Provider";
        CRYPT_KEY_PROV_INFO key{nowhere, provider, 0, 0, 0, nullptr, 0};
        store_ =
            CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"MY");
        CertAddEncodedCertificateToStore(store_, X509_ASN_ENCODING, der.data(),
                                         static_cast<DWORD>(der.size()),
                                         CERT_STORE_ADD_REPLACE_EXISTING, &entry_);
        CertSetCertificateContextProperty(entry_, CERT_KEY_PROV_INFO_PROP_ID, 0, &key);
        CertControlStore(store_, 0, CERT_STORE_CTRL_COMMIT, nullptr);
    }
    ~Entry() {
        CertDeleteCertificateFromStore(entry_);
        CertCloseStore(store_, 0);
    }
    Entry(const Entry &) = delete;
    Entry &operator=(const Entry &) = delete;

private:
    HCERTSTORE store_ = nullptr;
    PCCERT_CONTEXT entry_ = nullptr;
};

TEST(ClientKey, IsFoundByItsFingerprintOrSubject) {
    const auto minted = [](const char *name, int valid_to_days = 30) {
        return server(trusted_root(),
                      {.common_name = name, .valid_from_days = -3, .valid_to_days = valid_to_days});
    };
    const Identity ann = minted("Ann Seventeen"), bob = minted("Bob Eighteen"),
                   past = minted("Ann Seventeen", -1);
    const Entry entries[] = {Entry(ann), Entry(bob), Entry(past)};
    const auto named = [&](const EVP_MD *hash) {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned size = 0;
        X509_digest(ann.certificate.get(), hash, digest, &size);
        char text[3 * EVP_MAX_MD_SIZE];
        OPENSSL_buf2hexstr_ex(text, sizeof text, nullptr, digest, size, ':');
        return "fingerprint:" + std::string(text);
    };
    const char *const found = "key cannot be reached"; // there is none
    const std::pair<std::string, const char *> rows[] = {
        {"subject:ann sevenTEEN", found},
        {named(EVP_sha1()), found},
        {named(EVP_sha256()), found},
        {"subject:teen", "several certificates for \"subject:teen\":\n  fingerprint:"},
        {"subject:Carol Nineteen", "no certificate for \"subject:Carol Nineteen\""},
        {"fingerprint:" + std::string(40, '0'), "no certificate for"},
        {"subject:", "is named as fingerprint:HEX"},
        {"fingerprint:12:34", "is named as fingerprint:HEX"},
        {"Ann", "is named as fingerprint:HEX"},
        {"pkcs11:token=Card", "reaches no PKCS #11 tokens"},
    };
    const Interruption interruption;
    for (const auto &[text, told] : rows) {
        ClientCertificateOptions options;
        options.uri = text;
        const auto failure = failure_of([&] { open_client_key(options, nullptr, interruption); });
        ASSERT_TRUE(failure) << text;
        EXPECT_THAT(failure->what(), HasSubstr(told)) << text;
    }
}

} // namespace
