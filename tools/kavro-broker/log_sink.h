#pragma once

#include <kavro_broker.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kavro_cli {

/// Has the library's messages up to a severity written to standard error, one message at a time
/// with its time, severity and category. Severity 0 is none, but for the library's last words.
/// Tickets that the library logs in the clear are left out. The spinner follows what is logged.
void install_log_sink(int32_t most_severe_shown);

/// Has every message of the library heard as well, whatever is shown; by nobody, for an empty
/// function.
void listen_to_log(std::function<void(std::string_view)> listener);

/// The time as the log shows it.
std::string time_stamp();

} // namespace kavro_cli
