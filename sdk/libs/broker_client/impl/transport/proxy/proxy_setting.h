#pragma once

#include "transport/proxy/proxy.h"
#include "utils/src/expected.h"

#include <span>
#include <string>
#include <string_view>

// How systems write down which proxy they are set to.

namespace kavro {

/// Reads "[KIND://][USER[:PASSWORD]@]HOST:PORT[/]", the kind being "http" when there is none.
std::optional<Proxy> parse_proxy_setting(std::string_view text);

/// As libproxy and scripts answer: the first of these that can be used, which may be "direct://";
/// null for none. It is an error when none can be used.
Expected<ProxyHandle> first_usable_proxy(std::span<const std::string_view> settings);

/// As Windows has it: "HOST:PORT" for all, or "https=HOST:PORT" among others, with semicolons or
/// blanks between.
Expected<ProxyHandle> proxy_of_windows(std::string_view list);

/// Whether a list as of Windows excepts this host: "*.example.test;10.*;<local>".
bool windows_excepts(std::string_view list, std::string_view host);

} // namespace kavro
