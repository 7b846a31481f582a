#pragma once

#include <kavro_broker.h>

#include <cstdint>

namespace kavro_cli {

/// Has the library's messages up to a severity written to standard error, one message at a time
/// with its time, severity and category. Severity 0 is none, but for the library's last words.
/// Tickets that the library logs in the clear are left out. The spinner follows what is logged.
void install_log_sink(int32_t most_severe_shown);

} // namespace kavro_cli
