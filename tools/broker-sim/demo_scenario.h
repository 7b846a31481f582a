#pragma once

namespace broker_sim {

/// The text of scenarios/demo.json.
extern const char *const demo_scenario_json;

} // namespace broker_sim
