#pragma once
#include "broker_state.h"
#include "http_message.h"

#include <string>
#include <string_view>

namespace broker_sim {

/// Whether a word of a scenario is a way to log in to the proxy.
bool is_proxy_log_in(std::string_view word);

bool knows_user(const Proxy &proxy, std::string_view username, std::string_view password);

/// The user whom a request names to the proxy; empty for none.
std::string proxy_user_of(const HttpRequest &request);

/// What who asks for a tunnel is told: consent, or the ways to log in.
HttpAnswer admit(const Proxy &proxy, ProxyState &state, const HttpRequest &request);

} // namespace broker_sim
