#include "certificates.h"

#include "display_text.h"
#include "failure.h"

#include <fmt/format.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

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

std::string content_of(BIO *text) {
    char *start = nullptr;
    const long length = BIO_get_mem_data(text, &start);
    return std::string(start, static_cast<std::size_t>(length));
}

std::string name_text(const X509_NAME *name) {
    const BioHandle text(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(text.get(), name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    return content_of(text.get());
}

std::string time_text(const ASN1_TIME *time) {
    std::tm parts{};
    char text[32];
    if (ASN1_TIME_to_tm(time, &parts) != 1 ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) == 0)
        return "unknown";
    return text;
}

/// Whole days, those of the past below 0.
int days_until(const ASN1_TIME *time) {
    int days = 0, seconds = 0;
    ASN1_TIME_diff(&days, &seconds, nullptr, time);
    return seconds < 0 ? days - 1 : days;
}

std::vector<std::string> alternative_names(const X509 *certificate) {
    const std::unique_ptr<GENERAL_NAMES, Release<GENERAL_NAMES_free>> all(
        static_cast<GENERAL_NAMES *>(
            X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    std::vector<std::string> names;
    for (int i = 0; all && i < sk_GENERAL_NAME_num(all.get()); ++i) {
        GENERAL_NAME *const name = sk_GENERAL_NAME_value(all.get(), i);
        if (name->type != GEN_DNS && name->type != GEN_IPADD)
            continue;
        const BioHandle text(BIO_new(BIO_s_mem()));
        GENERAL_NAME_print(text.get(), name);
        const std::string shown = content_of(text.get());
        names.push_back(shown.substr(shown.find(':') + 1)); // behind what kind it is
    }
    return names;
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
    certificate.names = alternative_names(parsed.get());
    certificate.days_left = days_until(X509_get0_notAfter(parsed.get()));
    certificate.valid_from = time_text(X509_get0_notBefore(parsed.get()));
    certificate.valid_to = time_text(X509_get0_notAfter(parsed.get()));
    certificate.sha256 = fingerprint(parsed.get());
    certificate.key_pin = key_pin(parsed.get());
    certificate.key = key_text(parsed.get());
    return certificate;
}

std::string validity(const Certificate &certificate) {
    const int days = certificate.days_left;
    return fmt::format("{} to {} ({})", certificate.valid_from, certificate.valid_to,
                       days < 0 ? "over" : fmt::format("{} days left", days));
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

std::string names_of(const std::vector<Certificate> &chain) {
    return chain.empty() ? "" : fmt::format("{}", fmt::join(chain.front().names, ", "));
}

void print_certificates(const std::vector<Certificate> &certificates, std::ostream &out) {
    for (std::size_t depth = 0; depth < certificates.size(); ++depth) {
        const auto &certificate = certificates[depth];
        out << fmt::format("Certificate {}{}\n", depth, depth == 0 ? ", the broker's own" : "");
        const std::pair<const char *, std::string> rows[] = {
            {"Subject", certificate.subject},
            {"Issuer", certificate.issuer},
            {"Names", names_of({certificate})},
            {"Valid", validity(certificate)},
            {"SHA-256", certificate.sha256},
            {"Key", certificate.key},
            {"Key pin", certificate.key_pin},
            {"Verdict", describe_certificate(certificate.verdict)}};
        for (const auto &[title, text] : rows)
            if (!text.empty())
                out << fmt::format("  {:<8}  {}\n", title, visible(text));
    }
}

nlohmann::ordered_json to_json(const std::vector<Certificate> &certificates) {
    auto list = nlohmann::ordered_json::array();
    for (const auto &certificate : certificates)
        list.push_back({{"subject", certificate.subject},
                        {"issuer", certificate.issuer},
                        {"names", certificate.names},
                        {"valid_from", certificate.valid_from},
                        {"valid_to", certificate.valid_to},
                        {"days_left", certificate.days_left},
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
