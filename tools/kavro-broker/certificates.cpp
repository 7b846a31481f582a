#include "certificates.h"

#include "display_text.h"
#include "failure.h"

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <ostream>

namespace kavro_cli {
namespace {

using kavro_broker::bytes;

template <auto Free>
struct Release {
    template <class Object>
    void operator()(Object *object) const {
        Free(object);
    }
};
using X509Handle = std::unique_ptr<X509, Release<X509_free>>;
void release(unsigned char *memory) {
    OPENSSL_free(memory);
}
using BioHandle = std::unique_ptr<BIO, Release<BIO_free>>;

constexpr std::size_t sha256_size = 32;
constexpr std::string_view key_pin_prefix = "sha256//";

std::string name_text(const X509_NAME *name) {
    const BioHandle text(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(text.get(), name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    char *start = nullptr;
    const long length = BIO_get_mem_data(text.get(), &start);
    return std::string(start, static_cast<std::size_t>(length));
}

std::string time_text(const ASN1_TIME *time) {
    std::tm parts{};
    char text[32];
    if (ASN1_TIME_to_tm(time, &parts) != 1 ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0)
        return "unknown";
    return text;
}

std::string hexadecimal(const bytes &sha256) {
    return fmt::format("{:02x}", fmt::join(sha256, ""));
}

/// As other tools print a key's, too.
std::string key_pin_text(const bytes &sha256) {
    unsigned char base64[4 * ((sha256_size + 2) / 3) + 1];
    const int length = EVP_EncodeBlock(base64, sha256.data(), static_cast<int>(sha256.size()));
    return fmt::format(
        "{}{}", key_pin_prefix,
        std::string_view(reinterpret_cast<char *>(base64), static_cast<std::size_t>(length)));
}

std::string fingerprint(const X509 *certificate) {
    bytes sha256(sha256_size);
    X509_digest(certificate, EVP_sha256(), sha256.data(), nullptr);
    return hexadecimal(sha256);
}

/// Over its SubjectPublicKeyInfo (RFC 7469 section 2.4).
std::string key_pin(const X509 *certificate) {
    unsigned char *info = nullptr;
    const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &info);
    if (length < 0)
        return {};
    bytes sha256(sha256_size);
    EVP_Digest(info, static_cast<std::size_t>(length), sha256.data(), nullptr, EVP_sha256(),
               nullptr);
    OPENSSL_free(info);
    return key_pin_text(sha256);
}

std::string key_text(const X509 *certificate) {
    const EVP_PKEY *key = X509_get0_pubkey(certificate);
    if (key == nullptr)
        return "unknown";
    const char *kind = EVP_PKEY_get0_type_name(key);
    return fmt::format("{} {} bits", kind != nullptr ? kind : "unknown kind", EVP_PKEY_bits(key));
}

Certificate describe_one(const kavro_broker::certificate &shown) {
    Certificate certificate;
    certificate.verdict = shown.verdict;
    const unsigned char *start = shown.der.data();
    const X509Handle parsed(d2i_X509(nullptr, &start, static_cast<long>(shown.der.size())));
    if (!parsed)
        return certificate;
    certificate.subject = name_text(X509_get_subject_name(parsed.get()));
    certificate.issuer = name_text(X509_get_issuer_name(parsed.get()));
    certificate.valid_from = time_text(X509_get0_notBefore(parsed.get()));
    certificate.valid_to = time_text(X509_get0_notAfter(parsed.get()));
    certificate.sha256 = fingerprint(parsed.get());
    certificate.key_pin = key_pin(parsed.get());
    certificate.key = key_text(parsed.get());
    return certificate;
}

bytes to_der(X509 *certificate) {
    bytes der(static_cast<std::size_t>(i2d_X509(certificate, nullptr)));
    unsigned char *end = der.data();
    i2d_X509(certificate, &end);
    return der;
}

std::vector<bytes> parse_pem(const std::string &text) {
    const BioHandle source(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    std::vector<bytes> certificates;
    while (const X509Handle certificate{PEM_read_bio_X509(source.get(), nullptr, nullptr, nullptr)})
        certificates.push_back(to_der(certificate.get()));
    ERR_clear_error(); // the end of the text is reported there
    return certificates;
}

} // namespace

std::vector<Certificate> describe(const std::vector<kavro_broker::certificate> &chain) {
    std::vector<Certificate> certificates;
    std::ranges::transform(chain, std::back_inserter(certificates), describe_one);
    return certificates;
}

void print_certificates(const std::vector<Certificate> &certificates, std::ostream &out) {
    for (std::size_t depth = 0; depth < certificates.size(); ++depth) {
        const auto &certificate = certificates[depth];
        out << fmt::format("Certificate {}{}\n", depth, depth == 0 ? ", the broker's own" : "");
        const std::pair<const char *, std::string> rows[] = {
            {"Subject", certificate.subject},
            {"Issuer", certificate.issuer},
            {"Valid", certificate.valid_from + " to " + certificate.valid_to},
            {"SHA-256", certificate.sha256},
            {"Key", certificate.key},
            {"Key pin", certificate.key_pin},
            {"Verdict", describe_certificate(certificate.verdict)}};
        for (const auto &[title, text] : rows)
            out << fmt::format("  {:<8}  {}\n", title, visible(text));
    }
}

nlohmann::ordered_json to_json(const std::vector<Certificate> &certificates) {
    auto list = nlohmann::ordered_json::array();
    for (const auto &certificate : certificates)
        list.push_back({{"subject", certificate.subject},
                        {"issuer", certificate.issuer},
                        {"valid_from", certificate.valid_from},
                        {"valid_to", certificate.valid_to},
                        {"sha256", certificate.sha256},
                        {"key", certificate.key},
                        {"key_pin", certificate.key_pin},
                        {"verdict", certificate.verdict},
                        {"reason", describe_certificate(certificate.verdict)}});
    return list;
}

std::vector<bytes> load_certificates(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    auto certificates = parse_pem(content);
    if (certificates.empty()) {
        const auto *start = reinterpret_cast<const unsigned char *>(content.data());
        const X509Handle certificate(d2i_X509(nullptr, &start, static_cast<long>(content.size())));
        if (certificate)
            certificates.push_back(to_der(certificate.get()));
    }
    ERR_clear_error();
    if (certificates.empty())
        throw Failure(ExitStatus::usage, "NO_CERTIFICATE",
                      fmt::format("\"{}\" holds no certificate.", path));
    return certificates;
}

std::optional<Pin> read_pin(const std::string &text) {
    if (text.starts_with(key_pin_prefix)) {
        const std::string base64 = text.substr(key_pin_prefix.size());
        bytes sha256(sha256_size + 1); // and the zero that the padding stands for
        if (base64.size() != 44 || base64.back() != '=' ||
            EVP_DecodeBlock(sha256.data(), reinterpret_cast<const unsigned char *>(base64.data()),
                            static_cast<int>(base64.size())) != static_cast<int>(sha256.size()))
            return std::nullopt;
        sha256.resize(sha256_size);
        return Pin{std::move(sha256), true};
    }
    std::string digits;
    std::ranges::copy_if(text, std::back_inserter(digits),
                         [](char c) { return c != ':' && c != ' '; });
    long length = 0;
    const std::unique_ptr<unsigned char, Release<release>> read(
        OPENSSL_hexstr2buf(digits.c_str(), &length));
    ERR_clear_error();
    if (!read || length != sha256_size)
        return std::nullopt;
    return Pin{bytes(read.get(), read.get() + length), false};
}

bool fits(const Pin &pin, const Certificate &certificate) {
    return certificate.key_pin == key_pin_text(pin.sha256) ||
           (!pin.is_of_key && certificate.sha256 == hexadecimal(pin.sha256));
}

} // namespace kavro_cli
