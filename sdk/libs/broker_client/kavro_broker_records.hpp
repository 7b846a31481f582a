/**
 * @file kavro_broker_records.hpp
 * @brief What kavro_broker.hpp throws and returns, and how it is read through the C interface.
 */
#pragma once

#include "kavro_broker_extras.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace kavro_broker {

using bytes = std::vector<std::uint8_t>;

/// A result other than KAVRO_BROKER_OK. what() is a sentence, followed by the broker's own text.
class error : public std::runtime_error {
public:
    explicit error(kavro_broker_result code, std::string broker_text = {})
        : std::runtime_error(kavro_broker_result_text(code) +
                             (broker_text.empty() ? "" : " " + broker_text)),
          code_(code),
          broker_text_(std::move(broker_text)) {}

    kavro_broker_result code() const { return code_; }
    const char *name() const { return kavro_broker_result_name(code_); }
    /// The message of the failed request; empty where there is none.
    const std::string &broker_text() const { return broker_text_; }

private:
    kavro_broker_result code_;
    std::string broker_text_;
};

struct variable {
    std::string name, value;
};

struct broker_info {
    std::string product_name, product_version, platform;
};

struct desktop {
    std::string name, id, type, state, health;
    std::vector<std::uint32_t> operations; ///< the `KAVRO_BROKER_OPERATION_...` that it offers
};

struct target {
    std::string address, host_name, server_name, port;
};

struct gateway_ticket {
    std::string ticket, creation, expiry;
};

struct desktop_connection {
    kavro_broker::target target;
    std::string session_id, connect_tag;
    bool use_broker_address = false;
    std::optional<kavro_broker::gateway_ticket> gateway_ticket;
    std::vector<variable> agent_variables;
    std::vector<kavro_broker::target> alternate_targets;
};

struct dialog_field {
    std::string name, label, value;
    bool read_only = false, hidden = false, loggable = false;
    std::uint32_t text_type = KAVRO_BROKER_TEXT_TYPE_TEXT;
};

struct dialog_button {
    std::string id, label;
    bool is_default = false;
};

struct dialog {
    std::string prompt_text, error_text;
    std::vector<dialog_field> fields;
    std::vector<dialog_button> buttons;
};

struct certificate {
    bytes der; ///< empty when the broker did not show it
    std::uint32_t verdict = KAVRO_BROKER_CERTIFICATE_OK;
};

struct found_type {
    std::uint32_t type = 0;
    std::string address; ///< what a registration code stands for; else empty
    std::string port;    ///< the one that answered
};

/// How the C interface is called, once for all functions.
namespace detail {

struct release {
    void operator()(kavro_broker_handle handle) const { kavro_broker_free(handle); }
    void operator()(kavro_broker_type_finder finder) const {
        kavro_broker_free_type_finder(finder);
    }
    void operator()(kavro_broker_desktop_list list) const { kavro_broker_free_desktop_list(list); }
    void operator()(kavro_broker_desktop_connection_info info) const {
        kavro_broker_free_desktop_connection_info(info);
    }
    void operator()(kavro_broker_variable_list list) const {
        kavro_broker_free_variable_list(list);
    }
};

template <class Handle>
using owned = std::unique_ptr<std::remove_pointer_t<Handle>, release>;

inline void check(kavro_broker_result result) {
    if (result != KAVRO_BROKER_OK)
        throw error(result);
}

/// What `create(arguments..., &handle)` makes.
template <class Handle, class Create, class... Arguments>
owned<Handle> make(Create create, Arguments... arguments) {
    Handle handle = nullptr;
    check(create(arguments..., &handle));
    if (handle == nullptr)
        throw std::bad_alloc();
    return owned<Handle>(handle);
}

/// What `accessor(arguments..., &value)` tells.
template <class Value, class Accessor, class... Arguments>
Value read_value(Accessor accessor, Arguments... arguments) {
    Value value{};
    check(accessor(arguments..., &value));
    return value;
}

template <class Read, std::size_t... Index>
std::array<std::string, sizeof...(Index)> read_texts(const Read &read,
                                                     std::index_sequence<Index...>) {
    std::array<std::string, sizeof...(Index)> texts;
    std::array<char *, sizeof...(Index)> buffers{};
    std::array<std::size_t, sizeof...(Index)> sizes{};
    const auto call = [&] {
        check(std::apply(read, std::tuple_cat(std::make_tuple(buffers[Index], &sizes[Index])...)));
    };
    call();
    ((texts[Index].resize(sizes[Index]), buffers[Index] = texts[Index].data()), ...);
    call();
    (texts[Index].resize(sizes[Index] - 1), ...);
    return texts;
}

/// Asks for the sizes of `Count` texts, makes room and asks for the texts. `read` gets a buffer and
/// a length for each and hands them on to an accessor.
template <std::size_t Count, class Read>
std::array<std::string, Count> read_texts(const Read &read) {
    return read_texts(read, std::make_index_sequence<Count>());
}

template <class Accessor, class... Arguments>
std::string read_text(Accessor accessor, Arguments... arguments) {
    return read_texts<1>([&](auto... out) { return accessor(arguments..., out...); })[0];
}

/// `read(index)` for as many as `count(owner, ...)` tells.
template <class Count, class Owner, class Read>
auto read_each(Count count, Owner owner, const Read &read) {
    const auto size = read_value<std::uint32_t>(count, owner);
    std::vector<decltype(read(size))> records;
    records.reserve(size);
    for (std::uint32_t index = 0; index < size; ++index)
        records.push_back(read(index));
    return records;
}

template <class Accessor, class Owner>
variable read_variable(Accessor accessor, Owner owner, std::uint32_t index) {
    auto [name, value] = read_texts<2>([&](auto... out) { return accessor(owner, index, out...); });
    return {std::move(name), std::move(value)};
}

template <class Count, class Accessor, class Owner>
std::vector<variable> read_variables(Count count, Accessor accessor, Owner owner) {
    return read_each(count, owner,
                     [&](std::uint32_t index) { return read_variable(accessor, owner, index); });
}

/// What an accessor lends of a whole record.
template <class Record, class Accessor, class... Arguments>
Record read_record(Accessor accessor, Arguments... arguments) {
    Record record{};
    check(accessor(arguments..., &record, sizeof record));
    return record;
}

inline std::string copy(const kavro_broker_text &text) {
    return {text.data, text.size};
}

inline desktop read_desktop(kavro_broker_desktop_list list, std::uint32_t index) {
    const auto lent = read_record<kavro_broker_desktop>(kavro_broker_get_desktop, list, index);
    desktop read{copy(lent.name),  copy(lent.id),     copy(lent.type),
                 copy(lent.state), copy(lent.health), {}};
    for (std::uint32_t operation = KAVRO_BROKER_OPERATION_OS_RESTART;
         operation <= KAVRO_BROKER_OPERATION_RESUME; ++operation)
        if ((lent.operations >> operation & 1U) != 0)
            read.operations.push_back(operation);
    return read;
}

inline target read_alternate_target(kavro_broker_desktop_connection_info info,
                                    std::uint32_t index) {
    auto [address, host_name, server_name, port] = read_texts<4>([&](auto... out) {
        return kavro_broker_get_desktop_connection_alternate_target(info, index, out...);
    });
    return {std::move(address), std::move(host_name), std::move(server_name), std::move(port)};
}

inline desktop_connection read_connection(kavro_broker_desktop_connection_info info) {
    const auto lent =
        read_record<kavro_broker_desktop_connection>(kavro_broker_get_desktop_connection, info);
    desktop_connection read;
    read.target = {copy(lent.address), copy(lent.host_name), copy(lent.server_name),
                   copy(lent.port)};
    read.session_id = copy(lent.session_id);
    read.connect_tag = copy(lent.connect_tag);
    read.use_broker_address = lent.use_broker_address != 0;
    std::size_t size = 0; // tells an empty ticket from none
    if (kavro_broker_get_desktop_connection_property(info, KAVRO_BROKER_CONNECTION_GATEWAY_TICKET,
                                                     nullptr,
                                                     &size) != KAVRO_BROKER_ERR_NOT_AVAILABLE)
        read.gateway_ticket = {copy(lent.gateway_ticket), copy(lent.gateway_ticket_created),
                               copy(lent.gateway_ticket_expires)};
    read.agent_variables = read_variables(kavro_broker_get_num_desktop_connection_agent_variables,
                                          kavro_broker_get_desktop_connection_agent_variable, info);
    read.alternate_targets =
        read_each(kavro_broker_get_num_desktop_connection_alternate_targets, info,
                  [info](std::uint32_t index) { return read_alternate_target(info, index); });
    return read;
}

inline dialog_field read_dialog_field(kavro_broker_handle handle, std::uint32_t index) {
    std::uint32_t kind = 0, text_type = 0;
    std::uint8_t hidden = 0, loggable = 0;
    auto [name, label, value] = read_texts<3>([&](auto... out) {
        return kavro_broker_get_auth_dialog_field(handle, index, &kind, out..., &hidden, &loggable,
                                                  &text_type);
    });
    return {std::move(name),  std::move(label),
            std::move(value), kind == KAVRO_BROKER_DIALOG_FIELD_READ_ONLY,
            hidden != 0,      loggable != 0,
            text_type};
}

inline dialog_button read_dialog_button(kavro_broker_handle handle, std::uint32_t index) {
    std::uint8_t is_default = 0;
    auto [id, label] = read_texts<2>([&](auto... out) {
        return kavro_broker_get_auth_dialog_button(handle, index, out..., &is_default);
    });
    return {std::move(id), std::move(label), is_default != 0};
}

inline certificate read_certificate(kavro_broker_handle handle, std::uint32_t index) {
    certificate read;
    std::size_t size = 0;
    if (kavro_broker_get_broker_certificate(handle, index, nullptr, &size) == KAVRO_BROKER_OK) {
        read.der.resize(size);
        check(kavro_broker_get_broker_certificate(handle, index, read.der.data(), &size));
    }
    kavro_broker_get_certificate_error(handle, index, &read.verdict); // none after a success
    return read;
}

} // namespace detail

} // namespace kavro_broker
