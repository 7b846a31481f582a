#pragma once

#include "utils/src/openssl_handles.h"

namespace kavro {

/// The system's trust anchors, from OpenSSL's default paths (SSL_CERT_FILE and SSL_CERT_DIR are
/// honoured). They are loaded once per process and again only when their files have changed,
/// because loading a system's bundle costs more than a whole request.
///
/// @throws boost::system::system_error "set_default_verify_paths" when OpenSSL cannot make the
/// store.
X509StoreHandle system_trust_store();

} // namespace kavro
