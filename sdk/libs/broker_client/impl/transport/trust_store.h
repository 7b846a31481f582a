#pragma once

#include "utils/src/cert_chain.h"
#include "utils/src/openssl_handles.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace kavro {

/// Yields trust anchors by index, as a caller keeps them.
struct CertificateExtractor {
    std::function<int()> count;
    /// Size of a certificate's DER form in bytes.
    std::function<int(int index)> size;
    /// Writes that many bytes; false when it cannot.
    std::function<bool(int index, std::uint8_t *der)> copy;

    explicit operator bool() const { return count && size && copy; }
};

/// Reads all certificates of an extractor. What is no certificate is left out and logged.
std::vector<X509Handle> extract_certificates(const CertificateExtractor &extractor);

/// The system's trust anchors, from OpenSSL's default paths (SSL_CERT_FILE and SSL_CERT_DIR are
/// honoured), and a caller's own. They are loaded once and again only when the system's files have
/// changed, because loading a system's bundle costs more than a whole request.
class TrustStore {
public:
    explicit TrustStore(std::vector<X509Handle> own_anchors = {});
    ~TrustStore();

    /// The store as of now.
    /// @throws boost::system::system_error "set_default_verify_paths" when OpenSSL cannot make it.
    X509StoreHandle current();

    /// The one that all clients without anchors of their own share.
    static TrustStore &of_process();

private:
    struct Source;

    std::mutex mutex_;
    std::vector<X509Handle> own_anchors_;
    X509StoreHandle store_;
    std::unique_ptr<Source> loaded_from_;
};

} // namespace kavro
