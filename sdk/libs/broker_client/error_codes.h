#pragma once

#include "kavro/src/results.h"
#include "kavro_broker.h"

namespace kavro {

/// Name of an internal code for the log; "UNKNOWN" for one that has none.
const char *error_code_name(std::uint32_t code);

/// The public result code of an internal one. An internal code that must never reach an export is a
/// programming error.
kavro_broker_result broker_convert_error(std::uint32_t code);

/// The public value of an authentication method; one that has none is a programming error.
std::uint32_t convert_from_auth_result_value(AuthMethod method);

/// The public verdict on a certificate.
std::uint32_t convert_certificate_verdict(std::uint32_t error);

/// The name of a public verdict, as "KAVRO_BROKER_CERTIFICATE_EXPIRED".
const char *certificate_verdict_name(std::uint32_t verdict);

} // namespace kavro
