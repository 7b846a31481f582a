#include "tls_client.h"

#include <openssl/err.h>

#include <stdexcept>

namespace bench {

void require(long success, const char *operation) {
    if (success == 1)
        return;
    char text[256];
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    throw std::runtime_error(std::string(operation) + ": " + text);
}

TlsContext verifying_context(const std::string &trust_file) {
    TlsContext context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_options(context.get(), SSL_OP_NO_TICKET);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    require(SSL_CTX_load_verify_locations(context.get(), trust_file.c_str(), nullptr),
            "SSL_CTX_load_verify_locations");
    return context;
}

} // namespace bench
