#include "utils/src/base64.h"

#include "utils/src/openssl_handles.h"

#include <openssl/evp.h>

#include <new>

namespace kavro {

std::optional<std::vector<std::uint8_t>> decode_base64(std::string_view text) {
    const std::unique_ptr<EVP_ENCODE_CTX, OpenSslRelease<EVP_ENCODE_CTX_free>> decoder(
        EVP_ENCODE_CTX_new());
    if (!decoder)
        throw std::bad_alloc();
    std::vector<std::uint8_t> bytes(text.size());
    int decoded = 0;
    int rest = 0;
    EVP_DecodeInit(decoder.get());
    if (EVP_DecodeUpdate(decoder.get(), bytes.data(), &decoded,
                         reinterpret_cast<const unsigned char *>(text.data()),
                         static_cast<int>(text.size())) < 0 ||
        EVP_DecodeFinal(decoder.get(), bytes.data() + decoded, &rest) != 1)
        return std::nullopt;
    bytes.resize(static_cast<std::size_t>(decoded + rest));
    return bytes;
}

} // namespace kavro
