#pragma once

#include <cstdint>

/// One search for the kind of broker at an address.
struct broker_query_impl {
    std::uint32_t finished = 0; ///< 1 once a search has run to its end
};
