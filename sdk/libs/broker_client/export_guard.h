#pragma once

#include "broker_client_impl.h"
#include "kavro_broker.h"
#include "utils/src/safe_string.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

// What all exports share: nothing is thrown through them, null arguments are refused, and texts are
// copied out in one way.

namespace kavro {

/// The only catch between the library and its callers.
template <class Body>
kavro_broker_result guard(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE;
    }
}

/// The same for exports without a result.
template <class Body>
void guard_void(Body body) noexcept {
    guard([&body]() -> kavro_broker_result {
        body();
        return KAVRO_BROKER_OK;
    });
}

inline bool all_given(std::initializer_list<const void *> arguments) {
    for (const void *argument : arguments) {
        if (argument == nullptr)
            return false;
    }
    return true;
}

/// Runs `body` on what a handle of any kind stands for, once it and all required arguments are
/// there.
template <class Record, class Body>
kavro_broker_result with_handle(Record *record, std::initializer_list<const void *> required,
                                Body body) noexcept {
    if (record == nullptr || !all_given(required))
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return guard([&] { return body(*record); });
}

/// A text on its way out, and where the caller wants it.
struct TextOut {
    std::string_view text;
    char *buffer;
    std::size_t *length;
};

inline kavro_broker_result put_text(const TextOut &out) {
    if (out.length == nullptr)
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    const std::size_t given = *out.length;
    *out.length = out.text.size() + 1;
    if (out.buffer == nullptr)
        return KAVRO_BROKER_OK;
    if (given < *out.length)
        return KAVRO_BROKER_ERR_BUFFER_TOO_SMALL;
    kavro_memcpy_s(out.buffer, given, out.text.data(), out.text.size());
    out.buffer[out.text.size()] = '\0';
    return KAVRO_BROKER_OK;
}

/// One text after the other, up to the first that does not fit. All lengths must be there.
inline kavro_broker_result put_texts(std::initializer_list<TextOut> outs) {
    for (const TextOut &out : outs) {
        if (out.length == nullptr)
            return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    }
    for (const TextOut &out : outs) {
        if (const auto failure = put_text(out); failure != KAVRO_BROKER_OK)
            return failure;
    }
    return KAVRO_BROKER_OK;
}

/// Runs `body` on one item of a list.
template <class List, class Body>
kavro_broker_result with_item(List &&list, std::uint32_t index, Body body) {
    if (index >= list.size())
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    return body(list[index]);
}

/// One name and value pair of a list.
inline kavro_broker_result put_variable(const Variables &list, std::uint32_t index, char *name,
                                        std::size_t *name_length, char *value,
                                        std::size_t *value_length) {
    return with_item(list, index, [&](const auto &pair) {
        return put_texts({{pair.first, name, name_length}, {pair.second, value, value_length}});
    });
}

template <class List>
kavro_broker_result put_count(const List &list, std::uint32_t *count) {
    *count = static_cast<std::uint32_t>(list.size());
    return KAVRO_BROKER_OK;
}

} // namespace kavro
