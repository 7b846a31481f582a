#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kavro {

/// One way to log in that a server offers (RFC 9110 section 11.3).
struct Challenge {
    std::string scheme;
    std::string token; ///< in the place of parameters
    std::vector<std::pair<std::string, std::string>> parameters;

    /// Empty when there is none of that name.
    std::string_view parameter(std::string_view name) const;

    bool operator==(const Challenge &) const = default;
};

/// Reads the value of one field line, which may hold several. What cannot be read ends it.
std::vector<Challenge> parse_challenges(std::string_view text);

} // namespace kavro
