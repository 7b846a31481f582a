#include "broker_query_impl.h"
#include "export_guard.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <new>

using namespace kavro;

namespace {

/// If the text does not fit, the buffer holds an empty text.
void put_bounded(char *buffer, std::size_t size, const std::string &text) {
    if (buffer != nullptr)
        kavro_strcpy_s(buffer, size, text.c_str());
}

} // namespace

kavro_broker_result kavro_broker_create_type_finder(kavro_broker_type_finder *finder) {
    if (finder == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    *finder = nullptr;
    guard_void([finder] { *finder = new broker_query_impl; });
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_find_type(kavro_broker_type_finder finder, const char *address,
                                           const char *port, uint32_t *type_code) {
    return kavro_broker_find_type_extended(finder, address, port, type_code, nullptr, 0, nullptr,
                                           0);
}

kavro_broker_result kavro_broker_find_type_extended(kavro_broker_type_finder finder,
                                                    const char *address, const char *port,
                                                    uint32_t *type_code, char *address_buffer,
                                                    size_t address_size, char *port_buffer,
                                                    size_t port_size) {
    return with_handle(
        finder, {address, type_code}, [&](broker_query_impl &query) -> kavro_broker_result {
            const GivenAddress given = split_address(address);
            if (given.plain_http) {
                discovery_log_info("%s", plain_http_refused);
                return KAVRO_BROKER_ERR_INVALID_PARAMETER;
            }
            const auto result = query.find(given.authority({}), port != nullptr ? port : "");
            if (result == KAVRO_BROKER_OK) {
                *type_code = query.type_code;
                put_bounded(address_buffer, address_size, query.resolved_address);
                put_bounded(port_buffer, port_size, query.port);
            }
            return result;
        });
}

void kavro_broker_cancel_find_type(kavro_broker_type_finder finder) {
    with_handle(finder, {}, [](broker_query_impl &query) {
        query.cancel();
        return KAVRO_BROKER_OK;
    });
}

kavro_broker_result kavro_broker_get_type(kavro_broker_type_finder finder, uint32_t *finished) {
    return with_handle(finder, {finished}, [finished](broker_query_impl &query) {
        *finished = query.finished;
        return KAVRO_BROKER_OK;
    });
}

void kavro_broker_free_type_finder(kavro_broker_type_finder finder) {
    delete finder;
}
