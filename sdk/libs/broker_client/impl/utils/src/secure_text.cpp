#include "utils/src/secure_text.h"

#include <cstring>

namespace kavro {

void cleanse(void *memory, std::size_t size) noexcept {
    // Through a pointer that may change, for all that the compiler knows: it cannot leave the call
    // out. In wide steps, beside which those of OPENSSL_cleanse() are a tenth of a long list.
    static void *(*const volatile set)(void *, int, std::size_t) = std::memset;
    set(memory, 0, size);
}

} // namespace kavro
