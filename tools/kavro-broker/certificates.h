#pragma once

#include "certificate.h"

#include <kavro_broker_records.hpp>
#include <nlohmann/json.hpp>

#include <iosfwd>
#include <string>
#include <vector>

namespace kavro_cli {

/// A chain as people read it, the broker's own certificate first.
std::vector<Certificate> describe(const std::vector<kavro_broker::certificate> &chain);

void print_certificates(const std::vector<Certificate> &certificates, std::ostream &out);
nlohmann::ordered_json to_json(const std::vector<Certificate> &certificates);

/// The certificates of a file, PEM (one or several) or DER. Throws a Failure when there are none.
std::vector<kavro_broker::bytes> load_certificates(const std::string &path);

/// A SHA-256 fingerprint as it is compared: lower case without separators. Empty when the text is
/// none.
std::string normalized_fingerprint(const std::string &text);

} // namespace kavro_cli
