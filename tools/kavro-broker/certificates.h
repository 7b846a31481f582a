#pragma once

#include "api.h"
#include "certificate.h"

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <string>
#include <vector>

namespace kavro_cli {

/// The chain of the last connection, the broker's own first. Verdicts are 0 where none was given.
std::vector<Certificate> read_certificates(kavro_broker_handle handle);

void print_certificates(const std::vector<Certificate> &certificates, std::ostream &out);
nlohmann::ordered_json to_json(const std::vector<Certificate> &certificates);

/// The certificates of a file, PEM (one or several) or DER. Throws a Failure when there are none.
std::vector<Der> load_certificates(const std::string &path);

/// A SHA-256 fingerprint as it is compared: lower case without separators. Empty when the text is
/// none.
std::string normalized_fingerprint(const std::string &text);

} // namespace kavro_cli
