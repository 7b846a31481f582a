#pragma once

#include "failure.h"
#include "records.h"
#include "surroundings.h"

#include <nlohmann/json.hpp>

#include <iosfwd>

namespace kavro_cli {

using Json = nlohmann::ordered_json;

/// The JSON forms that more than one command prints.
Json to_json(const BrokerInfo &broker);
Json reference_to(const Desktop &desktop);

/// Prints what a command found as one JSON object, with the "result" that failures have as well.
void report_success(const Json &findings, std::ostream &out);

/// The same for a command whose findings are what went wrong.
void report_result(const Failure &result, const Json &findings, std::ostream &out);

/// Tells why a command failed: a JSON object in place of the result, or words on standard error.
void report_failure(const Failure &failure, bool json, const Surroundings &surroundings);

/// Makes sure that a result has arrived.
void require_written(std::ostream &out);

void warn(const std::string &text, const Surroundings &surroundings);

} // namespace kavro_cli
