#pragma once

#include "failure.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

namespace kavro_cli {

/// What is known after a try to greet a broker.
struct Evidence {
    std::string broker; ///< as it was asked for
    Failure result;     ///< 0 when all is well
    nlohmann::ordered_json report;
    uint32_t kind = 0;  ///< what else answers there, a `KAVRO_BROKER_TYPE_...` value; 0 for unknown
    std::string port{}; ///< as it was asked for; empty for the usual ones
    bool environment_names_proxy = false;

    /// The connection that tells: the one that failed, or came furthest when several ports were
    /// tried. Empty when there was none.
    const nlohmann::ordered_json &connection() const;
};

/// What is wrong, and what to do about it.
struct Diagnosis {
    std::string name; ///< for scripts
    std::string words;
    std::string advice; ///< empty when all is well
    ExitStatus status = ExitStatus::ok;
};

/// The proxy of a connection, as "http://HOST:PORT"; empty when there is none.
std::string proxy_of(const nlohmann::ordered_json &connection);

Diagnosis diagnose(const Evidence &evidence);

} // namespace kavro_cli
