#pragma once

#include <cstdint>

/// What the tests and the plug-in that they load tell each other.
struct ViewPluginState {
    enum class Next { good, null, throwing };

    Next next = Next::good; ///< what becomes of the next client that is asked for
    std::uint32_t kind = 0; ///< what the clients say they are
    int made = 0;
    int destroyed = 0;
};

/// Exported by the plug-in beside its two entry points.
using GetViewPluginState = ViewPluginState *();
