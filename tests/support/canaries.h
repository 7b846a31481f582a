#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>

// Secrets that a log must not show. All of them begin with the same word, so that one search finds
// each of them, escaped for XML or for an address or not.

namespace canary {

inline constexpr const char *user = "canary-user";
inline constexpr const char *password = "canary-password&amp;1";
inline constexpr const char *new_password = "canary-new-password&lt;2";
inline constexpr const char *oauth_code = "canary-code-3";
inline constexpr const char *pin = "canary-pin-4";
inline constexpr const char *new_pin = "canary-new-pin-4";
inline constexpr const char *connect_tag = "canary-tag-5-0123456789AB";
inline constexpr const char *ticket = "canary-ticket-6";
inline constexpr const char *cookie = "canary-cookie-7";

/// The line of a log that shows a secret, plain or in base64; empty when there is none. The one
/// line that is meant to show the gateway's ticket does not count.
inline std::string line_with_secret(const std::string &log) {
    // "canary", and what base64 makes of it wherever in a group of three it begins.
    constexpr std::string_view spellings[] = {"canary", "Y2FuYXJ5", "NhbmFyeS", "jYW5hcnkt"};
    constexpr std::string_view ticket_line =
        "Handling <allocate-resource-resp>: Gateway Ticket = canary-ticket-6";
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const bool shown = std::ranges::any_of(spellings, [&line](std::string_view spelling) {
            return line.find(spelling) != std::string::npos;
        });
        if (shown && line != ticket_line)
            return line;
    }
    return {};
}

} // namespace canary
