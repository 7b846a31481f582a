#include "utils/src/system_trust.h"

namespace kavro {

Security::cX509_CERT_CHAIN system_trust_anchors() {
    return {};
}

std::shared_ptr<ICertVerifier> platform_verifier() {
    return nullptr;
}

} // namespace kavro
