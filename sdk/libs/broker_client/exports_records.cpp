#include "export_guard.h"
#include "kavro_broker_extras.h"
#include "records.h"

#include <algorithm>
#include <iterator>
#include <new>

// Desktop lists, desktop connections and variable lists: what callers own.

using namespace kavro;

namespace {

/// One text of one desktop.
kavro_broker_result get_desktop_text(kavro_broker_desktop_list list, std::uint32_t index,
                                     std::string_view cDESKTOP_LIST_RESULT::*member, char *buffer,
                                     std::size_t *length) {
    return with_handle(list, {}, [&](auto &record) {
        return with_item(*record.desktops, index, [&](const cDESKTOP_LIST_RESULT &desktop) {
            return put_text({desktop.*member, buffer, length});
        });
    });
}

/// The texts among the properties, by their value; the flag among them has none.
constexpr std::string cDESKTOP_CONNECTION_RESULT::*property_texts[] = {
    &cDESKTOP_CONNECTION_RESULT::target_address,
    &cDESKTOP_CONNECTION_RESULT::host_name,
    &cDESKTOP_CONNECTION_RESULT::server_name,
    &cDESKTOP_CONNECTION_RESULT::port,
    &cDESKTOP_CONNECTION_RESULT::session_id,
    &cDESKTOP_CONNECTION_RESULT::connect_tag,
    nullptr,
    &cDESKTOP_CONNECTION_RESULT::gateway_ticket,
    &cDESKTOP_CONNECTION_RESULT::gateway_ticket_creation_time,
    &cDESKTOP_CONNECTION_RESULT::gateway_ticket_expiry_time,
};

kavro_broker_result put_flag(bool flag, char *buffer, std::size_t *length) {
    if (length == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    *length = 1;
    if (buffer != nullptr)
        *buffer = static_cast<char>(flag);
    return KAVRO_BROKER_OK;
}

kavro_broker_result put_property(const cDESKTOP_CONNECTION_RESULT &connection,
                                 std::uint32_t property, char *buffer, std::size_t *length) {
    if (property >= std::size(property_texts))
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    if (property == KAVRO_BROKER_CONNECTION_USE_BROKER_ADDRESS)
        return put_flag(connection.use_broker_address, buffer, length);
    if (property >= KAVRO_BROKER_CONNECTION_GATEWAY_TICKET && !connection.has_gateway_ticket)
        return KAVRO_BROKER_ERR_NOT_AVAILABLE;
    return put_text({connection.*property_texts[property], buffer, length});
}

/// A text that a zero follows, unless it is empty.
kavro_broker_text lent(std::string_view text) {
    return {text.empty() ? "" : text.data(), text.size()};
}

/// The operations that are allowed, as bits.
std::uint32_t bits_of(const decltype(cDESKTOP_LIST_RESULT::allowed) &allowed) {
    std::uint32_t bits = 0;
    for (std::size_t operation = 0; operation < allowed.size(); ++operation)
        bits |= std::uint32_t{allowed[operation]} << operation;
    return bits;
}

/// As much of a record as the caller knows of, which is its first member at least.
template <class Record>
kavro_broker_result put_record(const Record &record, Record *out, std::size_t size) {
    if (size < sizeof(kavro_broker_text))
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    kavro_memcpy_s(out, size, &record, std::min(size, sizeof record));
    return KAVRO_BROKER_OK;
}

} // namespace

kavro_broker_result kavro_broker_get_num_desktops(kavro_broker_desktop_list list, uint32_t *count) {
    return with_handle(list, {count},
                       [count](auto &record) { return put_count(*record.desktops, count); });
}

kavro_broker_result kavro_broker_get_desktop_name(kavro_broker_desktop_list list, uint32_t index,
                                                  char *buffer, size_t *length) {
    return get_desktop_text(list, index, &cDESKTOP_LIST_RESULT::resource_name, buffer, length);
}

kavro_broker_result kavro_broker_get_desktop_id(kavro_broker_desktop_list list, uint32_t index,
                                                char *buffer, size_t *length) {
    return get_desktop_text(list, index, &cDESKTOP_LIST_RESULT::resource_id, buffer, length);
}

kavro_broker_result kavro_broker_get_desktop_type(kavro_broker_desktop_list list, uint32_t index,
                                                  char *buffer, size_t *length) {
    return get_desktop_text(list, index, &cDESKTOP_LIST_RESULT::resource_type, buffer, length);
}

kavro_broker_result kavro_broker_get_desktop_state(kavro_broker_desktop_list list, uint32_t index,
                                                   char *buffer, size_t *length) {
    return get_desktop_text(list, index, &cDESKTOP_LIST_RESULT::resource_state, buffer, length);
}

kavro_broker_result kavro_broker_get_desktop_health(kavro_broker_desktop_list list, uint32_t index,
                                                    char *buffer, size_t *length) {
    return get_desktop_text(list, index, &cDESKTOP_LIST_RESULT::health_state, buffer, length);
}

kavro_broker_result kavro_broker_get_desktop_operation_allowed(kavro_broker_desktop_list list,
                                                               uint32_t index, uint32_t operation,
                                                               uint8_t *allowed) {
    return with_handle(list, {allowed}, [&](auto &record) {
        return with_item(*record.desktops, index, [&](const cDESKTOP_LIST_RESULT &desktop) {
            return with_item(desktop.allowed, operation, [allowed](bool flag) {
                *allowed = flag;
                return KAVRO_BROKER_OK;
            });
        });
    });
}

kavro_broker_result kavro_broker_get_desktop(kavro_broker_desktop_list list, uint32_t index,
                                             kavro_broker_desktop *desktop,
                                             size_t size_of_desktop) {
    return with_handle(list, {desktop}, [&](auto &record) {
        return with_item(*record.desktops, index, [&](const cDESKTOP_LIST_RESULT &of) {
            return put_record({lent(of.resource_name), lent(of.resource_id), lent(of.resource_type),
                               lent(of.resource_state), lent(of.health_state), bits_of(of.allowed)},
                              desktop, size_of_desktop);
        });
    });
}

void kavro_broker_free_desktop_list(kavro_broker_desktop_list list) {
    delete list;
}

kavro_broker_result
kavro_broker_get_desktop_connection_property(kavro_broker_desktop_connection_info info,
                                             uint32_t property, char *buffer, size_t *length) {
    return with_handle(info, {}, [&](auto &record) {
        return put_property(record.connection, property, buffer, length);
    });
}

kavro_broker_result kavro_broker_get_desktop_connection(kavro_broker_desktop_connection_info info,
                                                        kavro_broker_desktop_connection *connection,
                                                        size_t size_of_connection) {
    return with_handle(info, {connection}, [&](auto &record) {
        const cDESKTOP_CONNECTION_RESULT &of = record.connection;
        return put_record({lent(of.target_address), lent(of.host_name), lent(of.server_name),
                           lent(of.port), lent(of.session_id), lent(of.connect_tag),
                           std::uint32_t{of.use_broker_address}, lent(of.gateway_ticket),
                           lent(of.gateway_ticket_creation_time),
                           lent(of.gateway_ticket_expiry_time)},
                          connection, size_of_connection);
    });
}

kavro_broker_result
kavro_broker_get_num_desktop_connection_agent_variables(kavro_broker_desktop_connection_info info,
                                                        uint32_t *count) {
    return with_handle(info, {count}, [count](auto &record) {
        return put_count(record.connection.agent_variables, count);
    });
}

kavro_broker_result
kavro_broker_get_desktop_connection_agent_variable(kavro_broker_desktop_connection_info info,
                                                   uint32_t index, char *name, size_t *name_length,
                                                   char *value, size_t *value_length) {
    return with_handle(info, {}, [&](auto &record) {
        return put_variable(record.connection.agent_variables, index, name, name_length, value,
                            value_length);
    });
}

kavro_broker_result
kavro_broker_get_num_desktop_connection_alternate_targets(kavro_broker_desktop_connection_info info,
                                                          uint32_t *count) {
    return with_handle(info, {count}, [count](auto &record) {
        return put_count(record.connection.alternate_targets, count);
    });
}

kavro_broker_result kavro_broker_get_desktop_connection_alternate_target(
    kavro_broker_desktop_connection_info info, uint32_t index, char *address,
    size_t *address_length, char *host_name, size_t *host_name_length, char *server_name,
    size_t *server_name_length, char *port, size_t *port_length) {
    return with_handle(info, {}, [&](auto &record) {
        return with_item(
            record.connection.alternate_targets, index, [&](const AlternateTarget &target) {
                return put_texts({{target.address, address, address_length},
                                  {target.host_name, host_name, host_name_length},
                                  {target.server_name, server_name, server_name_length},
                                  {target.port, port, port_length}});
            });
    });
}

void kavro_broker_free_desktop_connection_info(kavro_broker_desktop_connection_info info) {
    delete info;
}

kavro_broker_result kavro_broker_create_variable_list(uint32_t count,
                                                      kavro_broker_variable_list *list) {
    if (count == 0 || list == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    *list = nullptr;
    try {
        *list = new kavro_broker_variable_list_record{Variables(count)};
    } catch (const std::exception &) {
        // No memory for so many: the caller sees the null list.
    }
    return KAVRO_BROKER_OK;
}

kavro_broker_result kavro_broker_set_variable(kavro_broker_variable_list list, uint32_t index,
                                              const char *name, const char *value) {
    return with_handle(list, {name, value}, [&](auto &record) {
        return with_item(record.variables, index, [&](auto &variable) {
            variable = {name, value};
            return KAVRO_BROKER_OK;
        });
    });
}

kavro_broker_result kavro_broker_get_variable(kavro_broker_variable_list list, uint32_t index,
                                              char *name, size_t *name_length, char *value,
                                              size_t *value_length) {
    return with_handle(list, {}, [&](auto &record) {
        return put_variable(record.variables, index, name, name_length, value, value_length);
    });
}

void kavro_broker_free_variable_list(kavro_broker_variable_list list) {
    delete list;
}
