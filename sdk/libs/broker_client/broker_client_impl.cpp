#include "broker_client_impl.h"

#include "utils/src/assertion.h"

void broker_client_impl::create(std::uint32_t type, kavro::BrokerClientHandle client) {
    kavro::broker_assert(protocol == nullptr, "broker_client_impl::create");
    protocol = std::move(client);
    type_code = type;
}

void broker_client_impl::begin_request() {
    const std::lock_guard lock(request_mutex_);
    cancelled_ = false;
    request_running_ = true;
}

void broker_client_impl::end_request() noexcept {
    {
        const std::lock_guard lock(request_mutex_);
        request_running_ = false;
    }
    try {
        // A cancel that came too late is still queued there and must not reach the next request.
        protocol->run_io(false);
    } catch (...) {
        // Nothing is left that anybody waits for.
    }
}

void broker_client_impl::cancel() {
    const std::lock_guard lock(request_mutex_);
    if (!request_running_)
        return;
    cancelled_ = true;
    protocol->cancel();
}
