#pragma once

#include "utils/src/openssl_types.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kavro {

/// SHA-256 over a certificate's SubjectPublicKeyInfo (RFC 7469 section 2.4): it outlives the
/// certificate, as long as the next one is for the same key.
using KeyPin = std::array<std::uint8_t, 32>;
using KeyPins = std::vector<KeyPin>;

/// Whether the certificate's key is among them; never when OpenSSL cannot tell.
bool has_pinned_key(const x509_st *certificate, const KeyPins &pins);

} // namespace kavro
