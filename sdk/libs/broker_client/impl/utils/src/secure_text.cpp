#include "utils/src/secure_text.h"

#include <openssl/crypto.h>

namespace kavro {

void cleanse(void *memory, std::size_t size) noexcept {
    OPENSSL_cleanse(memory, size);
}

} // namespace kavro
