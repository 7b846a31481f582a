#include "export_guard.h"
#include "kavro_broker_extras.h"

#include <chrono>
#include <iterator>

// How a handle's connections are made, and for how long.

using namespace kavro;

namespace {

/// By KAVRO_BROKER_LIMIT_...
constexpr std::chrono::milliseconds TimeLimits::*time_limits[] = {
    &TimeLimits::connect, &TimeLimits::request, &TimeLimits::authentication,
    &TimeLimits::provisioning};

} // namespace

kavro_broker_result kavro_broker_keep_connection(kavro_broker_handle handle,
                                                 uint32_t idle_seconds) {
    constexpr uint32_t longest = 300;
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        if (idle_seconds > longest)
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        client.keep_connection(std::chrono::seconds(idle_seconds));
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_set_time_limit(kavro_broker_handle handle, uint32_t limit,
                                                uint32_t milliseconds) {
    constexpr uint32_t shortest = 100, longest = 3600000;
    const bool usable =
        limit < std::size(time_limits) && shortest <= milliseconds && milliseconds <= longest;
    return with_handle(handle, {}, [&](broker_client_impl &client) {
        if (!usable)
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        client.limits.*time_limits[limit] = std::chrono::milliseconds(milliseconds);
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_set_proxy(kavro_broker_handle handle, const char *proxy,
                                           const char *user, const char *password) {
    return guard([&]() -> kavro_broker_result {
        auto parsed = parse_proxy(proxy != nullptr ? proxy : "", user, password);
        if (!parsed)
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
        if (handle == nullptr)
            set_common_proxy(std::move(*parsed));
        else
            handle->proxy = std::move(*parsed);
        return KAVRO_BROKER_OK;
    });
}
