#pragma once

#include <cstdint>
#include <string>

namespace kavro_cli {

/// One certificate of the chain that the broker showed, fit to be looked at by a person.
struct Certificate {
    std::string subject, issuer;
    std::string valid_from, valid_to; ///< UTC, as 2026-11-21T09:30:00Z
    std::string sha256;               ///< fingerprint, lower-case hexadecimal
    std::string key;                  ///< kind and length
    uint32_t verdict = 0;             ///< a `KAVRO_BROKER_CERTIFICATE_...` value
};

} // namespace kavro_cli
