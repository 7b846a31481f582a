#pragma once

#include "api_arguments.h"

#include <string_view>

namespace fuzz {

struct Export {
    std::string_view name;
    kavro_broker_result (*call)(Arguments &, bool only_small_numbers);
};

inline constexpr Export exports[] = {
#define EXPORT(function)                                                                           \
    {#function, [](Arguments &a, bool small) { return a.call(function, small); }},
#include "exports.inc"
#undef EXPORT
};

/// A number out of range is a programming error of the caller, or asks for gigabytes.
inline bool takes_small_numbers(std::string_view name) {
    return name.ends_with("_perform_desktop_operation") || name.ends_with("_create_variable_list");
}

/// Only what needs the broker fails like it.
inline bool is_documented(std::string_view name, kavro_broker_result result) {
    if (name.starts_with("kavro_broker_set_"))
        return result == 0 || result == 2;
    if (name.starts_with("kavro_broker_get_") && name != "kavro_broker_get_auth_method")
        return result == 0 || result == 2 || result == 3 || result == 7 || result == 8;
    return kavro_broker_result_name(result) != std::string_view("UNKNOWN") && result != 101;
}

} // namespace fuzz
