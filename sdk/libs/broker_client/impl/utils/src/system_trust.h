#pragma once

#include "utils/src/cert_chain.h"

namespace kavro {

/// The system's trust anchors, as far as OpenSSL does not find them by itself: on Windows the
/// certificates of the system stores "CA" and "ROOT", in that order; elsewhere none.
Security::cX509_CERT_CHAIN system_trust_anchors();

} // namespace kavro
