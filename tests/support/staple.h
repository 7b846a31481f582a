#pragma once

#include "minting.h"

#include <openssl/ocsp.h>

#include <string>

// What servers show of their certificate's revocation.

namespace test_support {

constexpr long hour = 3600;

struct Status {
    int status = V_OCSP_CERTSTATUS_GOOD;
    long from = -hour; ///< seconds from now
    long until = hour; ///< 0: it does not tell
    const EVP_MD *named_by = EVP_sha1();
};

/// A status as an issuer or its delegate signs it, in DER form.
std::string staple(const Identity &leaf, const Identity &issuer, const Identity &signer,
                   const Status &wanted = {});

} // namespace test_support
