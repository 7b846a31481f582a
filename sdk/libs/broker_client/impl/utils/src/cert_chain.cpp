#include "utils/src/cert_chain.h"

#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <openssl/pem.h>

#include <algorithm>

namespace kavro::Security {
namespace {

/// An encrypted text is refused; by default OpenSSL would ask for its password on the terminal.
int no_password(char *, int, int, void *) {
    return -1;
}

/// The certificates of a PEM text one by one. A bad one is null, and so is what follows the last.
class PemReader {
public:
    // What fails here is told by the result; the error queue belongs to the TLS operations.
    explicit PemReader(std::string_view pem)
        : text_(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()))) {
        ERR_set_mark();
    }
    ~PemReader() { ERR_pop_to_mark(); }
    PemReader(const PemReader &) = delete;
    PemReader &operator=(const PemReader &) = delete;

    X509Handle next() {
        return X509Handle(PEM_read_bio_X509(text_.get(), nullptr, no_password, nullptr));
    }
    bool at_end() const { return ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE; }

private:
    BioHandle text_;
};

} // namespace

X509Handle decode_certificate(std::span<const uint8_t> der) {
    ERR_set_mark();
    const unsigned char *rest = der.data();
    X509Handle certificate(d2i_X509(nullptr, &rest, static_cast<long>(der.size())));
    ERR_pop_to_mark();
    return rest == der.data() + der.size() ? std::move(certificate) : nullptr;
}

std::vector<X509Handle> decode_certificates(std::span<const uint8_t> der_or_pem) {
    std::vector<X509Handle> certificates;
    if (auto alone = decode_certificate(der_or_pem)) {
        certificates.push_back(std::move(alone));
        return certificates;
    }
    std::string_view text(reinterpret_cast<const char *>(der_or_pem.data()), der_or_pem.size());
    text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
    if (!text.ends_with("CERTIFICATE-----"))
        return certificates;
    PemReader reader(text);
    while (auto certificate = reader.next())
        certificates.push_back(std::move(certificate));
    if (!reader.at_end())
        certificates.clear();
    return certificates;
}

std::string one_line_name(const X509_NAME *name) {
    char text[256];
    return X509_NAME_oneline(name, text, sizeof text) != nullptr ? printable(text) : "";
}

void cX509_CERT_CHAIN::set_cert(std::size_t depth, X509 *certificate) {
    constexpr const char *function = "Security::cX509_CERT_CHAIN::set_cert";
    const int length = i2d_X509(certificate, nullptr);
    broker_assert(length >= 0, function);

    Der der(static_cast<std::size_t>(length));
    uint8_t *end = der.data();
    broker_assert(i2d_X509(certificate, &end) == length, function);
    set_der(depth, std::move(der));
}

bool cX509_CERT_CHAIN::set_cert(std::size_t depth, std::string_view pem) {
    const X509Handle certificate = PemReader(pem).next();
    if (certificate == nullptr)
        return false;
    set_cert(depth, certificate.get());
    return true;
}

void cX509_CERT_CHAIN::set_der(std::size_t depth, Der der) {
    if (depth >= entries_.size())
        entries_.resize(depth + 1);
    entries_[depth] = std::move(der);
}

bool cX509_CERT_CHAIN::copy_der(std::size_t index, uint8_t *buffer, std::size_t &length) const {
    if (index >= entries_.size())
        return false;
    const Der &entry = entries_[index];
    const std::size_t available = std::exchange(length, entry.size());
    if (buffer == nullptr)
        return true;
    if (available < entry.size())
        return false;
    std::ranges::copy(entry, buffer);
    return true;
}

} // namespace kavro::Security
