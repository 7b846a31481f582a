#include "profiles.h"

#include "arguments.h"
#include "failure.h"
#include "own_file.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace kavro_cli {
namespace {

using Profiles = std::map<std::string, Settings>;

/// The profile of what stands before the first section.
constexpr const char *default_profile = "default";

Failure unfit_profile(const std::string &path, const std::string &sentence) {
    return {ExitStatus::usage, "UNFIT_PROFILE", fmt::format("{}: {}", path, sentence)};
}

/// The reader below takes a # for the beginning of a comment even where it is quoted.
std::string without_comments(const std::string &text) {
    std::istringstream lines(text);
    std::string all;
    for (std::string line; std::getline(lines, line); all += line + '\n') {
        char quote = 0;
        for (std::size_t i = 0; i < line.size(); ++i)
            if (quote == 0 && line[i] == '#')
                line.resize(i);
            else if (quote == '"' && line[i] == '\\')
                ++i;
            else if (line[i] == quote)
                quote = 0;
            else if (quote == 0 && (line[i] == '"' || line[i] == '\''))
                quote = line[i];
    }
    return all;
}

Profiles profiles_in(const std::string &path) {
    std::istringstream text(without_comments(read_own_file(path)));
    CLI::ConfigTOML reader;
    reader.comment('\0');
    Profiles profiles;
    for (const auto &item : reader.from_config(text)) {
        auto &profile =
            profiles[item.parents.empty() ? default_profile
                                          : fmt::format("{}", fmt::join(item.parents, "."))];
        if (item.name != "++" && item.name != "--") // the beginning and the end of a section
            profile.push_back({item.name, item.inputs, path});
    }
    return profiles;
}

/// The profile that the file itself names, taken out of it.
std::string take_choice(Profiles &profiles) {
    auto &settings = profiles[default_profile];
    const auto named = values_of(settings, "profile");
    std::erase_if(settings, [](const Setting &setting) { return setting.name == "profile"; });
    return named.empty() ? default_profile : named.front();
}

std::string names_of(const Profiles &profiles) {
    std::vector<std::string> names;
    for (const auto &[name, settings] : profiles)
        if (!settings.empty())
            names.push_back(name);
    return names.empty() ? "there is none" : fmt::format("there are: {}", fmt::join(names, ", "));
}

void check(const Setting &setting, const std::function<bool(const std::string &)> &is_option) {
    if (is_option(setting.name))
        return;
    throw unfit_profile(
        setting.source,
        looks_secret(setting.name)
            ? fmt::format("\"{}\" cannot be set, and no secret belongs there; a command such as "
                          "password-command may fetch it.",
                          setting.name)
            : fmt::format("\"{}\" cannot be set: there is no such option.", setting.name));
}

} // namespace

Settings settings_of_profile(const std::string &folder, const std::string &name,
                             const std::function<bool(const std::string &)> &is_option) {
    const auto path = folder + "/config.toml";
    auto profiles = folder.empty() ? Profiles() : profiles_in(path);
    const auto choice = take_choice(profiles);
    const auto found = profiles.find(name.empty() ? choice : name);
    if (found == profiles.end())
        throw Failure(ExitStatus::usage, "UNKNOWN_PROFILE",
                      fmt::format("There is no profile \"{}\" in {}; {}.",
                                  name.empty() ? choice : name, path, names_of(profiles)));
    for (const auto &setting : found->second)
        check(setting, is_option);
    return found->second;
}

} // namespace kavro_cli
