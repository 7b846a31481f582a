#include "tls_identity.h"

#include <boost/asio/ip/address.hpp>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string_view>

namespace broker_sim {
namespace {

namespace fs = std::filesystem;

/// Passes an OpenSSL result on, or throws what the error queue says.
template <class Result>
Result checked(Result result) {
    if (result)
        return result;
    char text[256] = "unknown error";
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    throw std::runtime_error(std::string("OpenSSL: ") + text);
}

template <class Write>
std::string to_pem(Write write) {
    const std::unique_ptr<BIO, int (*)(BIO *)> bio(checked(BIO_new(BIO_s_mem())), BIO_free);
    checked(write(bio.get()));
    char *data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

void set_serial(X509 *certificate) {
    std::uint64_t serial = 0;
    checked(RAND_bytes(reinterpret_cast<unsigned char *>(&serial), sizeof serial) == 1);
    checked(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1));
}

void set_subject(X509 *certificate, const std::string &common_name) {
    checked(X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char *>(common_name.data()),
                                       static_cast<int>(common_name.size()), -1, 0));
}

void add_extension(X509 *certificate, X509 *issuer, int nid, const std::string &value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, void (*)(X509_EXTENSION *)> extension(
        checked(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str())), X509_EXTENSION_free);
    checked(X509_add_ext(certificate, extension.get(), -1));
}

std::string alternative_names(const std::vector<std::string> &names) {
    std::string list;
    for (const std::string &name : names) {
        boost::system::error_code not_an_address;
        boost::asio::ip::make_address(name, not_an_address);
        list += (list.empty() ? "" : ",") + std::string(not_an_address ? "DNS:" : "IP:") + name;
    }
    return list;
}

std::map<int, std::string> extensions_of(const Subject &subject) {
    std::map<int, std::string> extensions = subject.extensions;
    extensions.insert({
        {NID_basic_constraints, subject.authority ? "critical,CA:TRUE" : "critical,CA:FALSE"},
        {NID_key_usage, subject.authority ? "critical,keyCertSign,cRLSign"
                                          : "critical,digitalSignature,keyEncipherment"},
        {NID_subject_key_identifier, "hash"},
        {NID_authority_key_identifier, "keyid:always"},
    });
    if (!subject.authority)
        extensions.insert({NID_ext_key_usage, "serverAuth,clientAuth"});
    if (!subject.names.empty())
        extensions.insert({NID_subject_alt_name, alternative_names(subject.names)});
    return extensions;
}

/// The key that an earlier process kept, or null.
KeyPtr read_key(const fs::path &file) {
    const std::unique_ptr<BIO, int (*)(BIO *)> bio(BIO_new_file(file.string().c_str(), "rb"),
                                                   BIO_free);
    EVP_PKEY *const key =
        bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr) : nullptr;
    ERR_clear_error();
    return KeyPtr(key, EVP_PKEY_free);
}

/// As a whole, so that no other process reads a part. It does not matter whether that works.
void keep_key(const Identity &identity, const fs::path &file) {
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    const fs::path unfinished = file.string() + "." + std::to_string(std::random_device()());
    std::ofstream(unfinished, std::ios::binary) << identity.key_pem();
    fs::rename(unfinished, file, ignored);
}

KeyPtr kept_key(const std::string &kind) {
    const char *const folder = std::getenv("KAVRO_BROKER_SIM_KEYS");
    if (!folder)
        return generate_key(kind);
    const fs::path file = fs::path(folder) / (kind + ".pem");
    KeyPtr key = read_key(file);
    if (!key) {
        key = generate_key(kind);
        keep_key({key, nullptr}, file);
    }
    return key;
}

/// `issuer` is null for a certificate that signs itself.
Identity mint(const Subject &subject, KeyPtr key, const Identity *issuer) {
    const CertificatePtr certificate(checked(X509_new()), X509_free);
    X509 *const x509 = certificate.get();
    X509 *const issuing = issuer ? issuer->certificate.get() : x509;

    checked(X509_set_version(x509, 2));
    set_serial(x509);
    checked(X509_time_adj_ex(X509_getm_notBefore(x509), subject.valid_from_days, 0, nullptr));
    checked(X509_time_adj_ex(X509_getm_notAfter(x509), subject.valid_to_days, 0, nullptr));
    set_subject(x509, subject.common_name);
    checked(X509_set_issuer_name(x509, X509_get_subject_name(issuing)));
    checked(X509_set_pubkey(x509, key.get()));

    for (const auto &[nid, value] : extensions_of(subject))
        add_extension(x509, issuing, nid, value);

    checked(X509_sign(x509, issuer ? issuer->key.get() : key.get(),
                      checked(EVP_get_digestbyname(subject.digest.c_str()))));
    return {std::move(key), certificate};
}

} // namespace

std::string Identity::certificate_pem() const {
    return to_pem([&](BIO *bio) { return PEM_write_bio_X509(bio, certificate.get()); });
}

std::string Identity::key_pem() const {
    return to_pem([&](BIO *bio) {
        return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
}

KeyPtr generate_key(const std::string &kind) {
    const bool is_rsa = kind.starts_with("rsa-");
    const bool is_ec = kind.starts_with("ec-");
    if (!is_rsa && !is_ec && kind != "ed25519")
        throw std::invalid_argument("no kind of key: " + kind);
    const std::string detail = kind.substr(kind.find('-') + 1);
    const int type = is_rsa ? EVP_PKEY_RSA : is_ec ? EVP_PKEY_EC : EVP_PKEY_ED25519;
    const std::unique_ptr<EVP_PKEY_CTX, void (*)(EVP_PKEY_CTX *)> context(
        checked(EVP_PKEY_CTX_new_id(type, nullptr)), EVP_PKEY_CTX_free);
    checked(EVP_PKEY_keygen_init(context.get()) > 0);
    if (is_rsa)
        checked(EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), std::stoi(detail)) > 0);
    if (is_ec)
        checked(EVP_PKEY_CTX_set_ec_paramgen_curve_nid(
                    context.get(), OBJ_txt2nid(detail == "p256" ? "prime256v1" : detail.c_str())) >
                0);
    EVP_PKEY *key = nullptr;
    checked(EVP_PKEY_keygen(context.get(), &key) > 0);
    return KeyPtr(key, EVP_PKEY_free);
}

KeyPtr shared_key(const std::string &kind) {
    // First of all, so that the keys are freed before OpenSSL's own clean-up at exit.
    checked(OPENSSL_init_crypto(0, nullptr));
    static std::mutex mutex;
    static std::map<std::string, KeyPtr> keys;
    const std::lock_guard lock(mutex);
    KeyPtr &key = keys[kind];
    if (!key)
        key = kept_key(kind);
    return key;
}

Identity mint_self_signed(const Subject &subject, KeyPtr key) {
    return mint(subject, std::move(key), nullptr);
}

Identity mint_certificate(const Subject &subject, KeyPtr key, const Identity &issuer) {
    return mint(subject, std::move(key), &issuer);
}

Identity mint_authority(const std::string &common_name) {
    return mint_self_signed({.common_name = common_name, .authority = true, .valid_to_days = 365},
                            generate_key("ec-p256"));
}

} // namespace broker_sim
