#pragma once

#include "broker_query_impl.h"

#include <optional>
#include <string>
#include <string_view>

namespace kavro {

/// What a search tells its caller: "KAVR 443", with the address behind it for a registration code;
/// or the result's number, when the outputs are left alone as they should be.
inline std::string find(broker_query_impl &finder, const std::string &address,
                        const std::optional<std::string> &port = {}) {
    std::uint32_t type = 77;
    char resolved[64] = "#", answering[64] = "#";
    const auto result = kavro_broker_find_type_extended(
        &finder, address.c_str(), port ? port->c_str() : nullptr, &type, resolved, sizeof resolved,
        answering, sizeof answering);
    if (result != KAVRO_BROKER_OK) {
        const bool untouched =
            type == 77 && resolved == std::string_view("#") && answering == std::string_view("#");
        return std::to_string(result) + (untouched ? "" : " with outputs");
    }
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(type >> shift);
    return text + " " + answering + resolved;
}

} // namespace kavro
