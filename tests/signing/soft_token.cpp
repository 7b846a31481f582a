#include "soft_token.h"

#include "minting.h"
#include "module.h"
#include "system.h"

#include <openssl/x509.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>

namespace signing {

namespace fs = std::filesystem;
using token::require;
using token::TokenSession;
using Bytes = std::vector<CK_BYTE>;

namespace {

constexpr const char *variable = "SOFTHSM2_CONF";

CK_UTF8CHAR *characters(std::string_view text) {
    return reinterpret_cast<CK_UTF8CHAR *>(const_cast<char *>(text.data()));
}

CK_ATTRIBUTE bytes(CK_ATTRIBUTE_TYPE type, const Bytes &value) {
    return {type, const_cast<CK_BYTE *>(value.data()), value.size()};
}

/// Has the tool that comes with such tokens do something.
void manage(const std::string &arguments) {
    const std::string said =
        test_support::output_of("softhsm2-util --pin " + std::string(SoftToken::pin) + " " +
                                arguments + " 2>&1 && echo and has done so");
    if (!said.ends_with("and has done so\n"))
        throw std::runtime_error("softhsm2-util " + arguments + ": " + said);
}

CK_SLOT_ID slot_with_token(CK_FUNCTION_LIST &module) {
    std::vector<CK_SLOT_ID> slots(9);
    CK_ULONG count = slots.size();
    require(module.C_GetSlotList(CK_TRUE, slots.data(), &count), "slots");
    return slots.at(0); // the others are those that could be made
}

void store_certificate(const TokenSession &session, std::string_view name, const Bytes &id,
                       const test_support::Identity &identity) {
    CK_ULONG object_class = CKO_CERTIFICATE;
    CK_ULONG kind = CKC_X_509;
    CK_BBOOL yes = CK_TRUE;
    const Bytes certificate = test_support::der_of(identity);
    const unsigned char *subject = nullptr;
    std::size_t size = 0;
    X509_NAME_get0_der(X509_get_subject_name(identity.certificate.get()), &subject, &size);
    std::vector<CK_ATTRIBUTE> attributes{token::number(CKA_CLASS, object_class),
                                         token::number(CKA_CERTIFICATE_TYPE, kind),
                                         {CKA_TOKEN, &yes, sizeof yes},
                                         {CKA_LABEL, characters(name), name.size()},
                                         bytes(CKA_ID, id),
                                         {CKA_SUBJECT, const_cast<unsigned char *>(subject), size},
                                         bytes(CKA_VALUE, certificate)};
    CK_OBJECT_HANDLE object = 0;
    require(session.module().C_CreateObject(session.handle(), attributes.data(), attributes.size(),
                                            &object),
            "certificate");
}

} // namespace

SoftToken::SoftToken() : folder_(test_support::fresh_folder()) {
    const fs::path key_file = folder_ / "key.pem";
    fs::create_directory(folder_ / "tokens");
    std::ofstream(folder_ / "softhsm2.conf")
        << "directories.tokendir = " << (folder_ / "tokens").string() << "\nlog.level = ERROR\n";
    setenv(variable, (folder_ / "softhsm2.conf").c_str(), 1);

    manage("--init-token --free --label 'Test card' --so-pin 0815-0815");
    const auto issuer = test_support::authority(test_support::trusted_root());
    const struct {
        const char *name, *key;
        CK_BYTE id;
        bool has_key = true;
    } objects[] = {{"log-in", "rsa-2048", 1},
                   {"orphan", "rsa-2048", 2, false},
                   {"p256", "ec-p256", 4},
                   {"p384", "ec-secp384r1", 5}};
    std::map<std::string, test_support::Identity> identities;
    for (const auto &[name, key, id, has_key] : objects) {
        const bool is_issued = name == std::string_view("p384");
        const auto &identity = identities[name] = broker_sim::mint_certificate(
            {.common_name = "Test client"}, broker_sim::shared_key(key),
            is_issued ? issuer : test_support::trusted_root());
        certificates_[name] = test_support::der_of(identity);
        std::ofstream(key_file) << identity.key_pem();
        if (has_key)
            manage("--import " + key_file.string() + " --token 'Test card' --label key --id 0" +
                   std::to_string(id));
    }

    const auto modules = token::load_modules(module_path());
    CK_FUNCTION_LIST &module = *modules[0];
    const TokenSession session(module, slot_with_token(module), CKF_RW_SESSION);
    const std::string_view user_pin = pin;
    require(module.C_Login(session.handle(), CKU_USER, characters(user_pin), user_pin.size()),
            "user");
    for (const auto &[name, key, id, has_key] : objects)
        store_certificate(session, name, {id}, identities[name]);
    store_certificate(session, "issuer", {9}, issuer);
    store_certificate(session, "root", {8}, test_support::trusted_root());
}

SoftToken::~SoftToken() {
    unsetenv(variable);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::string SoftToken::module_path() {
    return SOFTHSM2_MODULE;
}

std::string SoftToken::uri(const std::string &object, const std::string &module) {
    return "pkcs11:token=Test%20card;object=" + object + "?module-path=" + module;
}

} // namespace signing
