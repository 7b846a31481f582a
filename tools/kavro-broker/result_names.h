#pragma once

#include <kavro_broker_extras.h>

namespace kavro_cli {

/// What the process tells its caller; documented in --help and docs/command-line.md.
enum class ExitStatus {
    ok = 0,
    usage = 1,
    unreachable = 2,
    untrusted = 3,
    authentication = 4,
    refused = 5,
    protocol = 6,
    timed_out = 7,
    no_answer = 8,
    pending = 9,
    cancelled = 130 ///< by Ctrl-C; another signal's number added to 128 is told instead
};

/// One result code in words.
struct ResultName {
    kavro_broker_result code;
    const char *name;
    ExitStatus status;
    const char *sentence;
    const char *advice; ///< empty where the sentence says it all
};

/// Never fails: a code that is not in the table reads as an unknown one.
ResultName describe(kavro_broker_result code);

/// Why a certificate is not trusted, to follow "The broker's certificate".
const char *describe_certificate(uint32_t verdict);

} // namespace kavro_cli
