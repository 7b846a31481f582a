#pragma once

#include <cstdlib>
#include <string>

namespace hostile {

/// KAVRO_HOSTILE_ROUNDS says how often what is left to chance is repeated in a run that may take
/// its time; such a run also leaves out nothing.
inline bool takes_its_time() {
    return std::getenv("KAVRO_HOSTILE_ROUNDS") != nullptr;
}

inline int rounds(int usual) {
    return takes_its_time() ? std::stoi(std::getenv("KAVRO_HOSTILE_ROUNDS")) : usual;
}

} // namespace hostile
