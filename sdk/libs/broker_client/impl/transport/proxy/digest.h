#pragma once

#include "transport/proxy/challenge.h"
#include "utils/src/secure_text.h"

#include <optional>
#include <string>
#include <string_view>

namespace kavro {

/// What a Digest answer is made of, besides the challenge.
struct DigestInput {
    std::string_view user, password;
    std::string_view method, uri;
    std::string_view client_nonce;
    unsigned nonce_count = 1;
};

/// Whether the challenge can be answered: its hash function and its quality of protection are
/// known. The better one has the higher number; 0 for one that cannot.
int strength_of(const Challenge &digest_challenge);

/// "Digest ..." as it answers the challenge (RFC 7616 section 3.4).
SecureText digest_answer(const Challenge &challenge, const DigestInput &input);

} // namespace kavro
