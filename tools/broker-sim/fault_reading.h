#pragma once
#include "json_node.h"

namespace broker_sim {

void read(const JsonNode &node, Fault &out);
void read(const JsonNode &node, Override &out);

} // namespace broker_sim
