#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kavro_cli {

/// One certificate of the chain that the broker showed, fit to be looked at by a person.
struct Certificate {
    std::string subject, issuer;
    std::vector<std::string> names;   ///< hosts and addresses that it is good for
    std::string valid_from, valid_to; ///< UTC, as 2026-11-21T09:30:00Z
    int days_left = 0;                ///< below 0 when it has expired
    std::string sha256;               ///< fingerprint, lower-case hexadecimal
    std::string key_pin;              ///< the key's, as "sha256//BASE64"
    std::string key;                  ///< kind and length
    uint32_t verdict = 0;             ///< a `KAVRO_BROKER_CERTIFICATE_...` value
};

/// The only certificate or key that a broker may show, by its SHA-256.
struct Pin {
    std::vector<uint8_t> sha256; ///< empty when it may show any
    bool is_of_key = false;      ///< else of a key or of a certificate
};

} // namespace kavro_cli
