#pragma once

#include "utils/src/openssl_types.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kavro::Security {

/// The certificate that these bytes are, all of them; null when they are none.
X509Handle decode_certificate(std::span<const uint8_t> der);

/// The certificates that these bytes are: one in DER form, or all of a PEM text, which ends with
/// one. Empty when they are none, or not all of them whole.
std::vector<X509Handle> decode_certificates(std::span<const uint8_t> der_or_pem);

/// An owner or issuer in one line, fit for the log.
std::string one_line_name(const X509_name_st *name);

/// A chain of certificates in DER form by depth, the peer's own first. An entry is empty while
/// its certificate has not been seen. A plain list of certificates is kept in the same way.
class cX509_CERT_CHAIN {
public:
    using Der = std::vector<uint8_t>;

    /// Stores a certificate at a depth; entries missing below it are added empty.
    void set_cert(std::size_t depth, x509_st *certificate);

    /// The same from PEM text; false, and nothing stored, when that is no certificate.
    bool set_cert(std::size_t depth, std::string_view pem);

    void set_der(std::size_t depth, Der der);
    void append_der(Der der) { entries_.push_back(std::move(der)); }

    std::size_t size() const { return entries_.size(); }
    const std::vector<Der> &entries() const { return entries_; }

    /// Copies an entry out. `length` holds the size of `buffer` and receives that of the entry;
    /// without a buffer that is all that happens. False, and nothing copied, when there is no such
    /// entry or the buffer is too small.
    bool copy_der(std::size_t index, uint8_t *buffer, std::size_t &length) const;

private:
    std::vector<Der> entries_;
};

} // namespace kavro::Security
