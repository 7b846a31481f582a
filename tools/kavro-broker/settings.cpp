#include "settings.h"

#include "child_process.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace kavro_cli {
namespace {

struct Variable {
    const char *name, *option;
};

/// None of them is one that "connect --output shell" sets.
constexpr Variable variables[] = {
    {"KAVRO_BROKER", "broker"},   {"KAVRO_REGISTRATION_CODE", "registration-code"},
    {"KAVRO_USER", "user"},       {"KAVRO_DOMAIN", "domain"},
    {"KAVRO_PROFILE", "profile"}, {"KAVRO_PROXY", "proxy"},
    {"KAVRO_LOCALE", "locale"},   {"KAVRO_LOG_LEVEL", "log-level"},
};

const CLI::Option *option_of(const Setting &setting, const CLI::App &page) {
    return page.get_option_no_throw("--" + setting.name);
}

/// Whether a setting leaves nothing to another: it is for the same option, or for one that may not
/// stand beside the other's.
bool decides(const Setting &setting, const Setting &other, const CLI::App &page) {
    if (setting.name == other.name)
        return true;
    const auto *option = option_of(setting, page);
    return option != nullptr &&
           std::ranges::any_of(option->get_excludes(), [&](const auto *excluded) {
               return excluded == option_of(other, page);
           });
}

/// Up to where something begins that may be secret.
std::string up_to(const std::string &value, const char *mark) {
    const auto end = value.find(mark);
    return end == value.npos ? value : value.substr(0, end) + mark + "...";
}

std::string field_of(const std::string &value) {
    return up_to(value, "=");
}

/// Without the query, which may hold a PIN (RFC 7512 section 2.4).
std::string uri_path_of(const std::string &value) {
    return up_to(value, "?");
}

} // namespace

void show_variables(CLI::App &page) {
    for (const auto &[name, option_name] : variables)
        if (auto *option = page.get_option_no_throw(fmt::format("--{}", option_name)))
            option->description(fmt::format("{} (Env:{})", option->get_description(), name));
}

Settings given_on(const CLI::App &page) {
    Settings settings;
    for (const auto *option : page.get_options([](const auto *each) { return each->count() > 0; }))
        if (!option->get_lnames().empty())
            settings.push_back({option->get_lnames().front(), option->results(), "command line"});
    return settings;
}

Settings given_by_environment() {
    Settings settings;
    for (const auto &[name, option] : variables)
        if (const char *value = std::getenv(name); value != nullptr && *value != '\0')
            settings.push_back({option, {value}, "environment"});
    return settings;
}

Settings above(const Settings &higher, const Settings &lower, const CLI::App &page) {
    Settings both = higher;
    std::ranges::copy_if(lower, std::back_inserter(both), [&](const Setting &setting) {
        return std::ranges::none_of(
            higher, [&](const Setting &decisive) { return decides(decisive, setting, page); });
    });
    return both;
}

std::vector<std::string> values_of(const Settings &settings, const std::string &name) {
    const auto found = std::ranges::find(settings, name, &Setting::name);
    return found == settings.end() ? std::vector<std::string>() : found->values;
}

std::vector<std::string> words_for(const Settings &settings, const CLI::App &page) {
    std::vector<std::string> words;
    for (const auto &setting : settings) {
        const auto *option = option_of(setting, page);
        if (option == nullptr || option->count() > 0)
            continue;
        const bool is_flag = option->get_expected_min() == 0;
        for (const auto &value : setting.values) {
            if (is_flag && value == "false")
                continue;
            if (value.empty())
                words.insert(words.end(), {"--" + setting.name, value});
            else
                words.push_back(fmt::format("--{}={}", setting.name, value));
        }
    }
    return words;
}

std::string shown_value(const std::string &name, const std::string &value) {
    static constexpr std::pair<const char *, std::string (*)(const std::string &)> cautious[] = {
        {"-command", program_of},
        {"answer", field_of},
        {"client-certificate", uri_path_of},
    };
    for (const auto &[ending, show] : cautious)
        if (name.ends_with(ending))
            return show(value);
    return value;
}

} // namespace kavro_cli
