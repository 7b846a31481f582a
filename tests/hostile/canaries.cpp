#include "hostile/canaries.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace hostile::canary {

std::string line_with_secret(const std::string &log) {
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

} // namespace hostile::canary
