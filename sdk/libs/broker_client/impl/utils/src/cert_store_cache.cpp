#include "utils/src/cert_store_cache.h"

#include "utils/src/safe_file.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <optional>

namespace kavro {

namespace {

constexpr std::size_t max_file_bytes = 4 * 1024 * 1024;
constexpr std::uint32_t max_fingerprint_bytes = 64;

/// Takes the fields of the file one after the other; all integers are 32 bits, little-endian.
class FieldReader {
public:
    explicit FieldReader(std::string_view bytes) : rest_(bytes) {}

    std::optional<std::uint32_t> number() {
        const auto bytes = text(4);
        if (!bytes)
            return std::nullopt;
        std::uint32_t value = 0;
        for (int i = 3; i >= 0; --i)
            value = value << 8 | static_cast<unsigned char>((*bytes)[static_cast<std::size_t>(i)]);
        return value;
    }
    std::optional<std::string_view> text(std::size_t length) {
        if (length > rest_.size())
            return std::nullopt;
        const auto taken = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return taken;
    }
    /// A text behind its length.
    std::optional<std::string_view> text() {
        const auto length = number();
        return length ? text(*length) : std::nullopt;
    }

private:
    std::string_view rest_;
};

void append_number(std::string &out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        out += static_cast<char>(value >> shift);
}

void append_text(std::string &out, std::string_view text) {
    append_number(out, static_cast<std::uint32_t>(text.size()));
    out += text;
}

} // namespace

std::string CertStoreCache::default_path() {
    const char *home = std::getenv("HOME");
    return home == nullptr ? ".cert_store" : std::string(home) + "/.cert_store";
}

std::string CertStoreCache::fingerprint(X509 *certificate) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (X509_digest(certificate, EVP_sha1(), digest, &length) != 1)
        return {};
    return std::string(reinterpret_cast<const char *>(digest), length);
}

void CertStoreCache::load() {
    entries_.clear();
    const auto content = read_plain_file(path_, max_file_bytes);
    if (!content)
        return;
    FieldReader fields(*content);
    const std::uint32_t count = fields.number().value_or(0);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto host = fields.text();
        const auto accepted = fields.number();
        const auto digest = fields.text();
        if (!host || !accepted || !digest)
            return; // cut off here: what came before still counts
        if (digest->size() <= max_fingerprint_bytes)
            entries_[std::string(*host)] = {*accepted == 1, std::string(*digest)};
    }
}

StoredCertificate CertStoreCache::lookup(const std::string &host, X509 *certificate) const {
    const auto entry = entries_.find(host);
    if (entry == entries_.end())
        return StoredCertificate::none;
    const std::string shown = fingerprint(certificate);
    if (!shown.empty() && entry->second.fingerprint == shown)
        return StoredCertificate::same;
    return entry->second.accepted ? StoredCertificate::other_accepted
                                  : StoredCertificate::other_not_accepted;
}

void CertStoreCache::store(const std::string &host, X509 *certificate, bool accepted) {
    entries_[host] = {accepted, fingerprint(certificate)};
}

void CertStoreCache::save() const {
    std::string content;
    append_number(content, static_cast<std::uint32_t>(entries_.size()));
    for (const auto &[host, entry] : entries_) {
        append_text(content, host);
        append_number(content, entry.accepted ? 1 : 0);
        append_text(content, entry.fingerprint);
    }
    static_cast<void>(replace_file(path_, content)); // then it is asked for again
}

} // namespace kavro
