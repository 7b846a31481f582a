#pragma once

#include "minting.h"
#include "tls_identity.h"

#include <map>
#include <string>
#include <vector>

// Chains as servers may show them, minted for a test.

namespace trust {

using broker_sim::Identity;

inline const std::string literal_host = "127.0.0.1";

/// Authorities with EC keys; made once a process. Only the first is to be trusted.
const Identity &trusted_root();
const Identity &strange_root();

struct Authority {
    std::string key = "ec-p256";
    std::map<int, std::string> extensions{};
    int valid_from_days = -1; ///< relative to now
    int valid_to_days = 30;
};

struct Server {
    std::vector<std::string> names{literal_host};
    std::string key = "rsa-2048";
    std::map<int, std::string> extensions{};
    std::string digest = "SHA256";
    std::string common_name = "Test server";
    int valid_from_days = -1;
    int valid_to_days = 30;
};

/// An intermediate authority.
Identity authority(const Identity &issuer, const Authority &wanted = {});
Identity server(const Identity &issuer, const Server &wanted = {});
Identity self_signed(const Server &wanted = {});

/// The certificate with its last byte changed, which is in its signature.
Identity with_bad_signature(const Identity &identity);

/// What a server shows: its own certificate and those of the issuers that it sends along.
test_support::ServerIdentity shown(const Identity &leaf, const std::vector<Identity> &further = {});

std::vector<std::uint8_t> der_of(const Identity &identity);

} // namespace trust
