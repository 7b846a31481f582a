#include "colour.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace kavro_cli {
namespace {

struct Word {
    std::string_view word;
    Colour colour;
};

constexpr Word words[] = {
    {"POWERED_ON", Colour::green},
    {"HEALTHY", Colour::green},
    {"SUSPENDED", Colour::yellow},
    {"DEGRADED", Colour::yellow},
};

constexpr const char *sequences[] = {"", "\x1b[31m", "\x1b[32m", "\x1b[33m"};

} // namespace

std::string painted(std::string_view text, Colour colour, bool enabled) {
    if (!enabled || colour == Colour::none || text.empty())
        return std::string(text);
    return fmt::format("{}{}\x1b[0m", sequences[static_cast<std::size_t>(colour)], text);
}

Colour colour_of(std::string_view word) {
    const auto *known = std::ranges::find(words, word, &Word::word);
    return known != std::end(words) ? known->colour : Colour::none;
}

} // namespace kavro_cli
