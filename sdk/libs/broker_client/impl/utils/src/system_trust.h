#pragma once

#include "utils/src/cert_chain.h"
#include "utils/src/cert_verifier.h"

namespace kavro {

/// The system's trust anchors, as far as OpenSSL does not find them by itself: on Windows the
/// certificates of the system stores "CA" and "ROOT", in that order; elsewhere none.
Security::cX509_CERT_CHAIN system_trust_anchors();

/// The system's own word on certificates, for one client; null where there is none.
std::shared_ptr<ICertVerifier> platform_verifier();

} // namespace kavro
