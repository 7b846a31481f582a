#include "desktop_choice.h"

#include "failure.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace kavro_cli {
namespace {

constexpr std::size_t most_listed = 20;

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool begins_like(std::string_view name, std::string_view start) {
    return name.size() >= start.size() &&
           std::ranges::equal(name.substr(0, start.size()), start, {}, lower, lower);
}

template <class Matches>
std::vector<const Desktop *> all_that(const std::vector<Desktop> &desktops, Matches matches) {
    std::vector<const Desktop *> found;
    for (const auto &desktop : desktops)
        if (matches(desktop))
            found.push_back(&desktop);
    return found;
}

Failure unclear(const char *name, const std::string &problem,
                const std::vector<const Desktop *> &candidates) {
    std::vector<std::string> titles;
    for (const auto *candidate : candidates)
        titles.push_back(title(*candidate));
    if (titles.size() > most_listed) {
        titles.resize(most_listed);
        titles.emplace_back("...");
    }
    return {ExitStatus::usage, name,
            fmt::format("{}: {}.", problem,
                        titles.empty() ? "there are none"
                                       : fmt::format("{}", fmt::join(titles, ", ")))};
}

} // namespace

std::string title(const Desktop &desktop) {
    return fmt::format("\"{}\" ({})", desktop.name, desktop.id);
}

const Desktop &find_desktop(const std::vector<Desktop> &desktops, const std::string &meant) {
    auto found = all_that(desktops, [&](const Desktop &desktop) { return desktop.id == meant; });
    if (found.empty())
        found = all_that(desktops, [&](const Desktop &desktop) { return desktop.name == meant; });
    if (found.empty())
        found = all_that(desktops,
                         [&](const Desktop &desktop) { return begins_like(desktop.name, meant); });
    if (found.size() == 1)
        return *found.front();
    if (found.empty())
        throw unclear("UNKNOWN_DESKTOP",
                      fmt::format("No desktop is called \"{}\"; yours are", meant),
                      all_that(desktops, [](const Desktop &) { return true; }));
    throw unclear("AMBIGUOUS_DESKTOP", fmt::format("\"{}\" may mean several desktops", meant),
                  found);
}

} // namespace kavro_cli
