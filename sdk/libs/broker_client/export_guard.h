#pragma once

#include "broker_client_impl.h"
#include "kavro_broker.h"
#include "utils/src/safe_string.h"

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>

// The rules of all exports: nothing is thrown through them, null arguments are refused, and texts
// are copied out in one way. `function` is the export's name, for the log.

namespace kavro {

/// The words of an exception go into the log, and where a handle is at hand into its message.
kavro_broker_result caught(const char *words, const char *function, std::string *message) noexcept;

/// The only catch between the library and its callers.
template <class Body>
kavro_broker_result guard(Body body, const char *function = __builtin_FUNCTION(),
                          std::string *message = nullptr) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return caught("out of memory", function, message);
    } catch (const std::exception &failure) {
        return caught(failure.what(), function, message);
    } catch (...) { // a plug-in may throw anything
        return caught("an exception of an unknown kind", function, message);
    }
}

/// The same for exports without a result.
template <class Body>
void guard_void(Body body, const char *function = __builtin_FUNCTION()) noexcept {
    guard(
        [&body]() -> kavro_broker_result {
            body();
            return KAVRO_BROKER_OK;
        },
        function);
}

inline bool all_given(std::initializer_list<const void *> arguments) {
    for (const void *argument : arguments) {
        if (argument == nullptr)
            return false;
    }
    return true;
}

/// The text that takes the words of an exception, if there is one.
inline std::string *message_of(broker_client_impl &handle) {
    return &handle.last_error_message;
}
template <class Record>
std::string *message_of(Record &) {
    return nullptr;
}

/// By whom the lines are heard that are logged on behalf of a handle.
inline LogScope log_scope(broker_client_impl &handle) {
    return LogScope(&handle.listener);
}
template <class Record>
std::nullptr_t log_scope(Record &) {
    return nullptr;
}

/// Runs `body` on what a handle of any kind stands for, once it and all required arguments are
/// there.
template <class Record, class Body>
kavro_broker_result with_handle(Record *record, std::initializer_list<const void *> required,
                                Body body, const char *function = __builtin_FUNCTION()) noexcept {
    if (record == nullptr || !all_given(required))
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    [[maybe_unused]] const auto &heard = log_scope(*record);
    return guard([&] { return body(*record); }, function, message_of(*record));
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
    kavro_memcpy_s(out.buffer, *out.length, out.text.data(), out.text.size());
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
