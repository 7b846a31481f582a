#pragma once

#include "transport/proxy/proxy.h"
#include "utils/src/expected.h"

#include <functional>
#include <optional>
#include <string_view>

namespace kavro {

/// The value of an environment variable; null when it is not set.
using Environment = std::function<const char *(const char *name)>;

/// The proxy that https_proxy and no_proxy name for a server, which may be none; nothing when they
/// do not decide. A value that cannot be used is an error.
Expected<std::optional<ProxyHandle>> proxy_of_environment(const Peer &server,
                                                          const Environment &environment);

/// Whether a list of hosts and domains names this host: "*", or one of them, separated by commas.
bool names_host(std::string_view list, std::string_view host);

} // namespace kavro
