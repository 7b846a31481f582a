#pragma once

#include "fuzzing.h"
#include "kavro_broker.h"
#include "kavro_broker_extras.h"

#include <algorithm>
#include <array>
#include <deque>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace fuzz {

inline void release(kavro_broker_handle made) {
    kavro_broker_free(made);
}
inline void release(kavro_broker_desktop_list made) {
    kavro_broker_free_desktop_list(made);
}
inline void release(kavro_broker_desktop_connection_info made) {
    kavro_broker_free_desktop_connection_info(made);
}
inline void release(kavro_broker_variable_list made) {
    kavro_broker_free_variable_list(made);
}
inline void release(kavro_broker_type_finder made) {
    kavro_broker_free_type_finder(made);
}

/// What the library makes of one kind: the latest, and where an export puts a new one.
template <class Object>
struct Made {
    Made() = default;
    Made(const Made &) = delete;
    Made &operator=(const Made &) = delete;
    ~Made() { release(latest); }

    void take_new() {
        if (made != nullptr)
            release(std::exchange(latest, std::exchange(made, nullptr)));
    }

    Object latest = nullptr;
    Object made = nullptr;
};

/// Calls exports with arguments of the types that they declare: good ones, and in one of eight
/// cases null. What no library can guard against, as a length beyond the caller's buffer, is not
/// tried.
class Arguments {
public:
    Arguments(Input &input, kavro_broker_handle handle, std::vector<std::string> texts)
        : input_(input), handle_(handle), texts_(std::move(texts)) {}

    /// What came of it; a call without a result is a success.
    template <class Result, class... Parameters>
    kavro_broker_result call(Result (*function)(Parameters...), bool only_small_numbers) {
        buffers_.clear();
        lengths_.clear();
        only_small_numbers_ = only_small_numbers;
        const std::tuple<Parameters...> arguments{make(std::type_identity<Parameters>())...};
        kavro_broker_result result = KAVRO_BROKER_OK;
        if constexpr (std::is_same_v<Result, kavro_broker_result>)
            result = std::apply(function, arguments);
        else
            std::apply(function, arguments);
        std::apply([](auto &...made) { (made.take_new(), ...); }, made_);
        return result;
    }

private:
    template <class Pointer>
    Pointer or_null(Pointer pointer) {
        return input_.ConsumeIntegralInRange(0, 7) == 0 ? nullptr : pointer;
    }

    /// A buffer of just the length that the next length is. Exports write one byte regardless.
    template <class Byte>
    Byte *buffer() {
        length_ = input_.PickValueInArray<std::size_t>({0, 1, 2, 16, 4096});
        buffers_.emplace_back(std::max<std::size_t>(length_, 1));
        return or_null(reinterpret_cast<Byte *>(buffers_.back().data()));
    }

    kavro_broker_handle make(std::type_identity<kavro_broker_handle>) { return or_null(handle_); }
    char *make(std::type_identity<char *>) { return buffer<char>(); }
    std::uint8_t *make(std::type_identity<std::uint8_t *>) { return buffer<std::uint8_t>(); }
    std::size_t *make(std::type_identity<std::size_t *>) {
        return or_null(&lengths_.emplace_back(std::exchange(length_, 0)));
    }
    std::size_t make(std::type_identity<std::size_t>) { return std::exchange(length_, 0); }
    std::uint32_t *make(std::type_identity<std::uint32_t *>) { return or_null(&number_); }

    const char *make(std::type_identity<const char *>) {
        const auto which = input_.ConsumeIntegralInRange<std::size_t>(0, texts_.size() - 1);
        return or_null(texts_[which].c_str());
    }
    const std::uint8_t *make(std::type_identity<const std::uint8_t *>) {
        const auto which = input_.ConsumeIntegralInRange<std::size_t>(0, texts_.size() - 1);
        length_ = texts_[which].size();
        return or_null(reinterpret_cast<const std::uint8_t *>(texts_[which].data()));
    }
    /// As many fields as the next number says.
    const kavro_broker_name_value *make(std::type_identity<const kavro_broker_name_value *>) {
        only_small_numbers_ = true;
        for (auto &[name, value] : fields_) {
            name = make(std::type_identity<const char *>());
            value = make(std::type_identity<const char *>());
        }
        return or_null(fields_.data());
    }
    void *make(std::type_identity<void *>) { return or_null(&number_); }
    const void *make(std::type_identity<const void *>) { return or_null(&number_); }

    template <class Number>
    requires std::is_integral_v<Number> Number make(std::type_identity<Number>) {
        if (!only_small_numbers_ && input_.ConsumeBool())
            return input_.ConsumeIntegral<Number>();
        return static_cast<Number>(
            input_.ConsumeIntegralInRange<std::size_t>(0, fields_.size() - 1));
    }

    kavro_broker_log_function make(std::type_identity<kavro_broker_log_function>) {
        return or_null(&SilentLog::take);
    }
    kavro_broker_message_function make(std::type_identity<kavro_broker_message_function>) {
        return or_null<kavro_broker_message_function>(
            [](void *, std::int32_t, std::int32_t, std::int32_t, const char *) {});
    }
    kavro_broker_session_log_id_function
    make(std::type_identity<kavro_broker_session_log_id_function>) {
        return or_null<kavro_broker_session_log_id_function>([](const char *) {});
    }
    /// One that signs, of either kind.
    template <class... Given>
    auto make(std::type_identity<int (*)(Given...)>) -> int (*)(Given...) {
        return or_null<int (*)(Given...)>([](Given...) { return 0; });
    }

    /// As long as the size that follows says.
    kavro_broker_desktop *make(std::type_identity<kavro_broker_desktop *>) {
        return buffer<kavro_broker_desktop>();
    }
    kavro_broker_desktop_connection *make(std::type_identity<kavro_broker_desktop_connection *>) {
        return buffer<kavro_broker_desktop_connection>();
    }

    template <class Record>
    Record *make(std::type_identity<Record *>) {
        return or_null(std::get<Made<Record *>>(made_).latest);
    }
    template <class Record>
    Record **make(std::type_identity<Record **>) {
        return or_null(&std::get<Made<Record *>>(made_).made);
    }

    Input &input_;
    kavro_broker_handle handle_;
    std::vector<std::string> texts_;
    bool only_small_numbers_ = false;
    std::size_t length_ = 0;
    std::uint32_t number_ = 0;
    std::array<kavro_broker_name_value, 5> fields_{};
    std::deque<std::vector<char>> buffers_;
    std::deque<std::size_t> lengths_;
    std::tuple<Made<kavro_broker_handle>, Made<kavro_broker_desktop_list>,
               Made<kavro_broker_desktop_connection_info>, Made<kavro_broker_variable_list>,
               Made<kavro_broker_type_finder>>
        made_;
};

} // namespace fuzz
