#pragma once

namespace kavro_cli {

/// Whether this machine's environment names a proxy, be it used or not.
bool environment_names_proxy();

/// From now on the environment has no log-in to its proxy, and the library shows nobody a ticket.
void forget_log_in_of_environment();

} // namespace kavro_cli
