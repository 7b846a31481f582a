#include "broker_query_impl.h"
#include "export_guard.h"

#include <new>

// The type finder. No probe is known to this build: nothing is ever recognised.

using namespace kavro;

kavro_broker_result kavro_broker_create_type_finder(kavro_broker_type_finder *finder) {
    if (finder == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    *finder = new (std::nothrow) broker_query_impl;
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_find_type(kavro_broker_type_finder finder, const char *address,
                                           const char *port, uint32_t *type_code) {
    char answering_port[10];
    return kavro_broker_find_type_extended(finder, address, port, type_code, nullptr, 0,
                                           answering_port, sizeof answering_port);
}

kavro_broker_result kavro_broker_find_type_extended(kavro_broker_type_finder finder,
                                                    const char *address, const char *,
                                                    uint32_t *type_code, char *, size_t, char *,
                                                    size_t) {
    return with_handle(finder, {address, type_code},
                       [](broker_query_impl &) { return KAVRO_BROKER_ERR_NO_BROKER_FOUND; });
}

void kavro_broker_cancel_find_type(kavro_broker_type_finder) {
    // Searches end at once.
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
