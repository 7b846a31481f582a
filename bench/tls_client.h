#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace bench {

template <auto Release>
struct ReleaseWith {
    template <class T>
    void operator()(T *object) const {
        Release(object);
    }
};

using TlsContext = std::unique_ptr<SSL_CTX, ReleaseWith<SSL_CTX_free>>;
using TlsConnection = std::unique_ptr<SSL, ReleaseWith<SSL_free>>;

/// Throws what OpenSSL says unless `success` is 1.
void require(long success, const char *operation);

/// A client's context that trusts the file and verifies; no session is ever resumed.
TlsContext verifying_context(const std::string &trust_file);

} // namespace bench
