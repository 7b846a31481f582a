#pragma once

#include "certificate.h"

#include <kavro_broker_records.hpp>
#include <nlohmann/json.hpp>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace kavro_cli {

/// A chain as people read it, the broker's own certificate first.
std::vector<Certificate> describe(const std::vector<kavro_broker::certificate> &chain);

/// The names that the broker's own is good for, as "a.test, b.test".
std::string names_of(const std::vector<Certificate> &chain);

void print_certificates(const std::vector<Certificate> &certificates, std::ostream &out);
nlohmann::ordered_json to_json(const std::vector<Certificate> &certificates);

/// The certificates of a file, PEM (one or several) or DER. Throws a Failure when there are none.
std::vector<kavro_broker::bytes> load_certificates(const std::string &path);

/// "sha256//" and the base64 of a key's, or hexadecimal digits of either with or without colons.
std::optional<Pin> read_pin(const std::string &text);
bool fits(const Pin &pin, const Certificate &certificate);

} // namespace kavro_cli
