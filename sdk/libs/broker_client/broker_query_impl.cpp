#include "broker_query_impl.h"

#include <chrono>
#include <stdexcept>
#include <thread>

using namespace kavro;

namespace {

/// No cancel waits longer than this.
constexpr std::chrono::milliseconds poll_interval{10};

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

kavro_broker_result broker_query_impl::find(const std::string &address,
                                            const std::string &wanted_port) {
    cancelled_ = false;
    finished = type_code = 0;
    try {
        QueryBrokerClient probe(address, wanted_port, QueryBrokerClient::all_protocols, settings);
        probe.get_broker_type([this](const ProbeResult &result) {
            type_code = type_code_of(result.type);
            resolved_address = result.resolved_address;
            port = result.port;
            finished = 1;
        });
        while (finished == 0 && !cancelled_) {
            probe.run_io();
            std::this_thread::sleep_for(poll_interval);
        }
    } catch (const std::invalid_argument &) {
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    }
    if (cancelled_)
        return KAVRO_BROKER_ERR_CANCELLED;
    return type_code == 0 ? KAVRO_BROKER_ERR_NO_BROKER_FOUND : KAVRO_BROKER_OK;
}
