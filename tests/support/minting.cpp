#include "minting.h"

#include "system.h"
#include "tls_identity.h"

#include <openssl/x509.h>

#include <fstream>

namespace test_support {

namespace {

namespace fs = std::filesystem;
using broker_sim::Identity;
using broker_sim::Subject;

const Identity &authority() {
    static const Identity identity = broker_sim::mint_authority("Trusted test authority");
    return identity;
}

const Identity &strange_authority() {
    static const Identity identity = broker_sim::mint_authority("Strange test authority");
    return identity;
}

Subject subject(const std::vector<std::string> &names) {
    return {.common_name = "Test server", .names = names};
}

broker_sim::KeyPtr server_key() {
    return broker_sim::shared_key("rsa-2048");
}

ServerIdentity as_pem(const Identity &identity) {
    return {identity.certificate_pem(), identity.key_pem()};
}

} // namespace

const std::string &trusted_authority() {
    static const std::string pem = authority().certificate_pem();
    return pem;
}

ServerIdentity trusted_server(const std::vector<std::string> &names) {
    return as_pem(broker_sim::mint_certificate(subject(names), server_key(), authority()));
}

ServerIdentity untrusted_server(const std::vector<std::string> &names) {
    return as_pem(broker_sim::mint_certificate(subject(names), server_key(), strange_authority()));
}

ServerIdentity self_signed_server(const std::vector<std::string> &names) {
    return as_pem(broker_sim::mint_self_signed(subject(names), server_key()));
}

ServerIdentity expired_server(const std::vector<std::string> &names) {
    Subject past = subject(names);
    past.valid_from_days = -20;
    past.valid_to_days = -10;
    return as_pem(broker_sim::mint_certificate(past, server_key(), authority()));
}

std::vector<std::uint8_t> der_of(const X509 *certificate) {
    std::vector<std::uint8_t> der(static_cast<std::size_t>(i2d_X509(certificate, nullptr)));
    unsigned char *to = der.data();
    i2d_X509(certificate, &to);
    return der;
}

std::vector<std::uint8_t> trusted_client(std::shared_ptr<EVP_PKEY> key) {
    const Identity identity =
        broker_sim::mint_certificate({.common_name = "Test client"}, std::move(key), authority());
    return der_of(identity.certificate.get());
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
