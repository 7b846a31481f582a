#pragma once

#include <openssl/ssl.h>

namespace kavro {

/// What every TLS connection with a judged server has in common.
inline void configure_verified_tls(SSL_CTX *context) {
    // Stated, not inherited: a distribution's defaults shall not change who is trusted.
    SSL_CTX_set_security_level(context, 1);
    SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
    // A certificate that comes after the verdict would go unjudged, and so would one that a resumed
    // session does not show at all.
    SSL_CTX_set_options(context, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_TICKET);
    SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
}

} // namespace kavro
