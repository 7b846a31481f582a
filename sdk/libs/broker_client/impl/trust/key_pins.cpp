#include "trust/key_pins.h"

#include "utils/src/openssl_handles.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>

namespace kavro {

bool has_pinned_key(const X509 *certificate, const KeyPins &pins) {
    unsigned char *info = nullptr;
    const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &info);
    if (length < 0)
        return false;
    KeyPin pin;
    const bool hashed = EVP_Digest(info, static_cast<std::size_t>(length), pin.data(), nullptr,
                                   EVP_sha256(), nullptr) == 1;
    OPENSSL_free(info);
    return hashed && std::ranges::find(pins, pin) != pins.end();
}

} // namespace kavro
