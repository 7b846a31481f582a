#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <utility>

namespace kavro {

/// The value of what has none to give.
struct Done {};

/// A value, or the reason why there is none: as much of C++23's std::expected as is wanted here.
/// (Boost's result does the same, but would take a message half as long again to compile.)
template <class T = Done, class Reason = std::string>
class Expected {
public:
    Expected() requires std::same_as<T, Done> : value_(Done()) {}
    Expected(T value) : value_(std::move(value)) {}
    template <class Given>
    requires(std::convertible_to<Given, Reason> && !std::convertible_to<Given, T>)
        Expected(Given &&reason)
        : reason_(std::forward<Given>(reason)) {}

    explicit operator bool() const { return value_.has_value(); }
    T &operator*() { return *value_; }
    const T &operator*() const { return *value_; }
    T *operator->() { return &*value_; }
    const T *operator->() const { return &*value_; }
    const Reason &error() const { return reason_; }

private:
    std::optional<T> value_;
    Reason reason_{};
};

} // namespace kavro
