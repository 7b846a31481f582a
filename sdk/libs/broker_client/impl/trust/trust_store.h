#pragma once

#include "utils/src/cert_chain.h"
#include "utils/src/openssl_types.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kavro {

/// Yields trust anchors by index, as a caller keeps them.
struct CertificateExtractor {
    std::function<int()> count;
    /// Size of a certificate's DER form in bytes.
    std::function<int(int index)> size;
    /// Writes that many bytes; false when it cannot.
    std::function<bool(int index, std::uint8_t *der)> copy;
    /// The first this many anchors are the system's.
    int of_system = 0;

    explicit operator bool() const { return count && size && copy; }
};

/// Trust anchors besides those in OpenSSL's default paths. A caller's own counts as it is, be it an
/// issuer or the broker's own certificate. Those that the system keeps elsewhere may be mere links
/// of chains: they count only where they lead to a root.
struct TrustAnchors {
    std::vector<X509Handle> of_system;
    std::vector<X509Handle> own;
};

/// Reads all certificates of an extractor. What is no certificate is left out and logged.
TrustAnchors extract_certificates(const CertificateExtractor &extractor);

/// The system's trust anchors, from OpenSSL's default paths (SSL_CERT_FILE and SSL_CERT_DIR are
/// honoured), and others. They are read once and again only when the system's files have changed,
/// and built when they are asked for, because to build those of a whole system costs more than many
/// requests.
class TrustStore {
public:
    explicit TrustStore(TrustAnchors anchors = {});
    ~TrustStore();

    /// The store as of now.
    /// @throws boost::system::system_error "set_default_verify_paths" when OpenSSL cannot make it.
    X509StoreHandle current();

    /// Where authorities were looked for, in words, when not one can be read; else empty.
    std::string places_without_authorities() const;

    /// The one that all clients without anchors of their own share.
    static TrustStore &of_process();

private:
    struct Source;

    std::mutex mutex_;
    TrustAnchors anchors_;
    X509StoreHandle store_;
    std::unique_ptr<Source> loaded_from_;
};

} // namespace kavro
