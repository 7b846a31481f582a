#pragma once
#include "json_node.h"

namespace broker_sim {

void read(const JsonNode &node, Fault &out);
void read(const JsonNode &node, Override &out);

/// The way back: what a fault does, by the keys of a scenario. Empty when it does nothing.
nlohmann::json parts_of(const Fault &fault);

} // namespace broker_sim
