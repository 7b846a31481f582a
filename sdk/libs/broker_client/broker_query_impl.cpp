#include "broker_query_impl.h"

#include "transport/waiter.h"

#include <stdexcept>

using namespace kavro;

namespace {

std::uint32_t type_code_of(BROKER_TYPE type) {
    switch (type) {
    case KAVRO_BROKER:
        return KAVRO_BROKER_TYPE_KAVRO;
    case VIEW_BROKER:
        return KAVRO_BROKER_TYPE_VIEW;
    case AWS_KAVRO_BROKER:
        return KAVRO_BROKER_TYPE_AWS;
    case DIRECT_HARD_HOST:
        return KAVRO_BROKER_TYPE_DIRECT_HOST;
    case NON_EXISTENT_BROKER:
    case UNKNOWN_BROKER:
        break;
    }
    return 0;
}

} // namespace

broker_query_impl::broker_query_impl(ProbeSettings probe_settings)
    : settings(std::move(probe_settings)), waiter_(std::make_shared<Waiter>()) {}

kavro_broker_result broker_query_impl::find(const std::string &address,
                                            const std::string &wanted_port) {
    cancelled_ = false;
    waiter_->forget_cancel();
    finished = type_code = 0;
    ProbeResult result;
    try {
        result = QueryBrokerClient(address, wanted_port, settings, waiter_, cancelled_)
                     .get_broker_type();
    } catch (const std::invalid_argument &) {
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    } catch (const Interrupted &) {
        return KAVRO_BROKER_ERR_CANCELLED;
    }
    if (cancelled_)
        return KAVRO_BROKER_ERR_CANCELLED;
    type_code = type_code_of(result.type);
    resolved_address = std::move(result.resolved_address);
    port = std::move(result.port);
    finished = 1;
    return type_code == 0 ? KAVRO_BROKER_ERR_NO_BROKER_FOUND : KAVRO_BROKER_OK;
}

void broker_query_impl::cancel() noexcept {
    cancelled_ = true;
    waiter_->cancel();
}
