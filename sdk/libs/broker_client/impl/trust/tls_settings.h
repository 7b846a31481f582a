#pragma once

#include "utils/src/openssl_handles.h"

#include <openssl/ssl.h>

namespace kavro {

/// The settings for clients.
inline SslContextHandle client_tls_context() {
    SslContextHandle made(SSL_CTX_new(TLS_client_method()));
    if (made == nullptr)
        throw_openssl_error("SSL_CTX_new");
    return made;
}

// What the peer said is not to stay in OpenSSL's buffers, which releases before 3 leave as they
// are.
#ifdef SSL_OP_CLEANSE_PLAINTEXT
inline constexpr auto wipe_what_was_read = SSL_OP_CLEANSE_PLAINTEXT;
#else
inline constexpr auto wipe_what_was_read = 0;
#endif

/// What every TLS connection with a judged server has in common.
inline void configure_verified_tls(SSL_CTX *context) {
    // Stated, not inherited: a distribution's defaults shall not change who is trusted.
    SSL_CTX_set_security_level(context, 1);
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    // A certificate that comes after the verdict would go unjudged, and so would one that a resumed
    // session does not show at all.
    SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_TICKET | wipe_what_was_read);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
}

} // namespace kavro
