#pragma once

#include "kavro_broker.hpp"

/// The sentence, the broker's own words, and the code by which support finds out more.
inline std::string error_text(const kavro_broker::error &error) {
    const auto words =
        error.broker_text().empty() ? "" : "\n\u201c" + error.broker_text() + "\u201d";
    return kavro_broker::result_text(error.code()) + words + "\n" + std::to_string(error.code()) +
           " " + error.name();
}
