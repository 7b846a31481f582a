#include "transport/proxy/environment_proxy.h"
#include "transport/proxy/system_proxy.h"

#include <cstdlib>

namespace kavro {

Expected<ProxyHandle> system_proxy(const Peer &server, Waiter &) {
    const auto decision = proxy_of_environment(server, &std::getenv);
    if (!decision)
        return decision.error();
    return decision->value_or(nullptr);
}

} // namespace kavro
