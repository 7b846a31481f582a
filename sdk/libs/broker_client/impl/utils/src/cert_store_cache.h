#pragma once

#include "utils/src/openssl_types.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace kavro {

/// What is remembered of a host's certificate from earlier connections.
enum class StoredCertificate { same = 1, other_accepted = 2, other_not_accepted = 3, none = 4 };

/// Remembers per broker host the certificate that it showed last, so that a changed one that cannot
/// be verified is told from the one that the user has seen. A file in the user's home directory.
class CertStoreCache {
public:
    /// ".cert_store" in the folder that HOME names, or in the current one when it names none.
    static std::string default_path();

    explicit CertStoreCache(std::string path = default_path()) : path_(std::move(path)) {}

    /// Reads the file; one that is missing or damaged reads as empty.
    void load();
    StoredCertificate lookup(const std::string &host, x509_st *certificate) const;
    void store(const std::string &host, x509_st *certificate, bool accepted);
    /// Replaces the file. A file that cannot be written is left as it is.
    void save() const;

private:
    struct Entry {
        bool accepted = false;
        std::string fingerprint;
    };

    static std::string fingerprint(x509_st *certificate);

    std::string path_;
    std::map<std::string, Entry> entries_;
};

} // namespace kavro
