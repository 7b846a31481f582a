#include "utils/src/cert_verifier.h"

namespace kavro {

std::shared_ptr<ICertVerifier> platform_verifier() {
    return nullptr;
}

} // namespace kavro
