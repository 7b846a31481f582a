#include "minting.h"

#include "system.h"

#include <fstream>
#include <utility>

namespace test_support {

namespace {

namespace fs = std::filesystem;

broker_sim::Subject subject_of(const Server &wanted) {
    return {.common_name = wanted.common_name,
            .names = wanted.names,
            .valid_from_days = wanted.valid_from_days,
            .valid_to_days = wanted.valid_to_days,
            .extensions = wanted.extensions,
            .digest = wanted.digest};
}

} // namespace

const Identity &trusted_root() {
    static const Identity root = broker_sim::mint_authority("Trusted root");
    return root;
}

const Identity &strange_root() {
    static const Identity root = broker_sim::mint_authority("Strange root");
    return root;
}

Identity authority(const Identity &issuer, const Authority &wanted) {
    static int number = 0;
    return broker_sim::mint_certificate(
        {.common_name = "Intermediate authority " + std::to_string(++number),
         .authority = true,
         .valid_from_days = wanted.valid_from_days,
         .valid_to_days = wanted.valid_to_days,
         .extensions = wanted.extensions},
        broker_sim::shared_key(wanted.key), issuer);
}

Identity server(const Identity &issuer, const Server &wanted) {
    return broker_sim::mint_certificate(subject_of(wanted), broker_sim::shared_key(wanted.key),
                                        issuer);
}

Identity self_signed(const Server &wanted) {
    return broker_sim::mint_self_signed(subject_of(wanted), broker_sim::shared_key(wanted.key));
}

Identity with_bad_signature(const Identity &identity) {
    std::vector<std::uint8_t> der = der_of(identity);
    der.back() ^= 1;
    const std::uint8_t *from = der.data();
    return {identity.key, {d2i_X509(nullptr, &from, static_cast<long>(der.size())), X509_free}};
}

ServerIdentity shown(const Identity &leaf, const std::vector<Identity> &further) {
    std::string chain = leaf.certificate_pem();
    for (const Identity &identity : further)
        chain += identity.certificate_pem();
    return {chain, leaf.key_pem()};
}

std::vector<std::uint8_t> der_of(const X509 *certificate) {
    std::vector<std::uint8_t> der(static_cast<std::size_t>(i2d_X509(certificate, nullptr)));
    unsigned char *to = der.data();
    i2d_X509(certificate, &to);
    return der;
}

std::vector<std::uint8_t> der_of(const Identity &identity) {
    return der_of(identity.certificate.get());
}

bool trusts(X509_STORE *store, const Identity &leaf) {
    const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> context(
        X509_STORE_CTX_new(), X509_STORE_CTX_free);
    X509_STORE_CTX_init(context.get(), store, leaf.certificate.get(), nullptr);
    return X509_verify_cert(context.get()) == 1;
}

std::vector<std::uint8_t> trusted_client(std::shared_ptr<EVP_PKEY> key) {
    return der_of(broker_sim::mint_certificate({.common_name = "Test client"}, std::move(key),
                                               trusted_root()));
}

TrustedCa::TrustedCa(const std::string &authority_pem) : folder_(fresh_folder()) {
    const fs::path file = folder_ / "authority.pem";
    const fs::path empty_folder = folder_ / "none";
    std::ofstream(file, std::ios::binary) << authority_pem;
    fs::create_directory(empty_folder);
    file_before_ = exchange_variable(X509_get_default_cert_file_env(), file.string());
    folder_before_ = exchange_variable(X509_get_default_cert_dir_env(), empty_folder.string());
}

TrustedCa::~TrustedCa() {
    exchange_variable(X509_get_default_cert_file_env(), file_before_);
    exchange_variable(X509_get_default_cert_dir_env(), folder_before_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

} // namespace test_support
