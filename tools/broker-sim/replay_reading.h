#pragma once
#include "scenario.h"

namespace broker_sim {

/// Reads what a client has recorded, or its log of level debug, as a scenario that plays the
/// broker's side of it. Throws ScenarioError, which names the file.
Scenario read_replay(const std::filesystem::path &path);

} // namespace broker_sim
