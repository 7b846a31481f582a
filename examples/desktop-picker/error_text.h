#pragma once

#include "kavro_broker.hpp"

/// The sentence with the broker's own words, and the code by which support finds out more.
inline std::string error_text(const kavro_broker::error &error) {
    return std::string(error.what()) + '\n' + std::to_string(error.code()) + ' ' + error.name();
}
