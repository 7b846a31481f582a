#include "soft_token.h"

#include "minting.h"
#include "module.h"
#include "system.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace signing {

namespace fs = std::filesystem;
using token::require;
using token::TokenSession;
using Bytes = std::vector<CK_BYTE>;

namespace {

constexpr const char *variable = "SOFTHSM2_CONF";
constexpr std::string_view label = "Test card";

CK_UTF8CHAR *characters(std::string_view text) {
    return reinterpret_cast<CK_UTF8CHAR *>(const_cast<char *>(text.data()));
}

CK_ATTRIBUTE bytes(CK_ATTRIBUTE_TYPE type, const Bytes &value) {
    return {type, const_cast<CK_BYTE *>(value.data()), value.size()};
}

CK_ATTRIBUTE text(CK_ATTRIBUTE_TYPE type, std::string_view value) {
    return {type, characters(value), value.size()};
}

CK_ATTRIBUTE flag(CK_ATTRIBUTE_TYPE type, bool set) {
    static CK_BBOOL values[] = {CK_FALSE, CK_TRUE};
    return {type, &values[set ? 1 : 0], sizeof(CK_BBOOL)};
}

CK_ATTRIBUTE yes(CK_ATTRIBUTE_TYPE type) {
    return flag(type, true);
}

/// The one slot with a token that is there for the taking, or the one that was taken.
CK_SLOT_ID slot_of(CK_FUNCTION_LIST &module, bool taken) {
    CK_ULONG count = 0;
    require(module.C_GetSlotList(CK_TRUE, nullptr, &count), "slots");
    std::vector<CK_SLOT_ID> slots(count);
    require(module.C_GetSlotList(CK_TRUE, slots.data(), &count), "slots");
    for (const CK_SLOT_ID slot : slots) {
        CK_TOKEN_INFO info{};
        require(module.C_GetTokenInfo(slot, &info), "token");
        if (((info.flags & CKF_TOKEN_INITIALIZED) != 0) == taken)
            return slot;
    }
    throw std::runtime_error("no such slot");
}

CK_SLOT_ID initialise(CK_FUNCTION_LIST &module) {
    constexpr std::string_view officer_pin = "0815-0815";
    std::string padded(label);
    padded.resize(32, ' ');
    require(module.C_InitToken(slot_of(module, false), characters(officer_pin), officer_pin.size(),
                               characters(padded)),
            "token");
    const CK_SLOT_ID slot = slot_of(module, true);
    const TokenSession session(module, slot, CKF_RW_SESSION);
    const std::string_view pin = SoftToken::pin;
    require(module.C_Login(session.handle(), CKU_SO, characters(officer_pin), officer_pin.size()),
            "officer");
    require(module.C_InitPIN(session.handle(), characters(pin), pin.size()), "PIN");
    return slot;
}

/// Makes a key pair on the token and tells the public half.
std::shared_ptr<EVP_PKEY> make_key_pair(const TokenSession &session, const Bytes &id, bool signs) {
    CK_MECHANISM mechanism{CKM_RSA_PKCS_KEY_PAIR_GEN, nullptr, 0};
    CK_ULONG bits = 2048;
    std::vector<CK_ATTRIBUTE> open{yes(CKA_TOKEN), token::number(CKA_MODULUS_BITS, bits)};
    std::vector<CK_ATTRIBUTE> closed{yes(CKA_TOKEN), yes(CKA_PRIVATE), yes(CKA_SENSITIVE),
                                     flag(CKA_SIGN, signs), bytes(CKA_ID, id)};
    CK_OBJECT_HANDLE public_key = 0;
    CK_OBJECT_HANDLE private_key = 0;
    require(session.module().C_GenerateKeyPair(session.handle(), &mechanism, open.data(),
                                               open.size(), closed.data(), closed.size(),
                                               &public_key, &private_key),
            "key pair");

    // RSAPublicKey of RFC 8017, as long as it is with 2048 bits and the usual exponent, 65537.
    Bytes der{0x30, 0x82, 0x01, 0x0A, 0x02, 0x82, 0x01, 0x01, 0x00};
    std::ranges::copy(session.attribute(public_key, CKA_MODULUS), std::back_inserter(der));
    std::ranges::copy(Bytes{0x02, 0x03, 0x01, 0x00, 0x01}, std::back_inserter(der));
    const unsigned char *from = der.data();
    return {d2i_PublicKey(EVP_PKEY_RSA, nullptr, &from, static_cast<long>(der.size())),
            EVP_PKEY_free};
}

Bytes subject_of(const Bytes &certificate) {
    const unsigned char *from = certificate.data();
    const std::unique_ptr<X509, decltype(&X509_free)> x509(
        d2i_X509(nullptr, &from, static_cast<long>(certificate.size())), X509_free);
    const unsigned char *der = nullptr;
    std::size_t length = 0;
    X509_NAME_get0_der(X509_get_subject_name(x509.get()), &der, &length);
    return {der, der + length};
}

void store_certificate(const TokenSession &session, const std::string &name, const Bytes &id,
                       const Bytes &certificate) {
    CK_ULONG object_class = CKO_CERTIFICATE;
    CK_ULONG kind = CKC_X_509;
    const Bytes subject = subject_of(certificate);
    std::vector<CK_ATTRIBUTE> attributes{token::number(CKA_CLASS, object_class),
                                         token::number(CKA_CERTIFICATE_TYPE, kind),
                                         yes(CKA_TOKEN),
                                         text(CKA_LABEL, name),
                                         bytes(CKA_ID, id),
                                         bytes(CKA_SUBJECT, subject),
                                         bytes(CKA_VALUE, certificate)};
    CK_OBJECT_HANDLE object = 0;
    require(session.module().C_CreateObject(session.handle(), attributes.data(), attributes.size(),
                                            &object),
            "certificate");
}

} // namespace

SoftToken::SoftToken() : folder_(test_support::fresh_folder()) {
    fs::create_directory(folder_ / "tokens");
    std::ofstream(folder_ / "softhsm2.conf")
        << "directories.tokendir = " << (folder_ / "tokens").string() << "\nlog.level = ERROR\n";
    setenv(variable, (folder_ / "softhsm2.conf").c_str(), 1);

    const auto modules = token::load_modules(module_path());
    CK_FUNCTION_LIST &module = *modules[0];
    const TokenSession session(module, initialise(module), CKF_RW_SESSION);
    const std::string_view user_pin = pin;
    require(module.C_Login(session.handle(), CKU_USER, characters(user_pin), user_pin.size()),
            "user");
    const Bytes id{1};
    certificate_ = test_support::trusted_client(make_key_pair(session, id, true));
    store_certificate(session, "log-in", id, certificate_);
    const Bytes other_id{3};
    const auto mute = test_support::trusted_client(make_key_pair(session, other_id, false));
    store_certificate(session, "mute", other_id, mute);
    store_certificate(session, "orphan", {2}, certificate_);
}

SoftToken::~SoftToken() {
    unsetenv(variable);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::string SoftToken::module_path() {
    return SOFTHSM2_MODULE;
}

std::string SoftToken::uri(const std::string &object) {
    return "pkcs11:token=Test%20card;object=" + object + "?module-path=" + module_path();
}

std::string SoftToken::environment() const {
    return std::string(variable) + "=" + (folder_ / "softhsm2.conf").string();
}

} // namespace signing
