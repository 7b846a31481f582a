#include "shell_completion.h"

#include "completion.h"
#include "display_text.h"
#include "utils/src/ascii.h"
#include "words.h"

#include <algorithm>

namespace kavro_cli {
namespace {

/// Where the last word of a line begins, which may be in quotes that are still open.
std::size_t begin_of_last_word(std::string_view line) {
    std::size_t begin = 0;
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i)
        if (line[i] == quote)
            quote = 0;
        else if (quote == 0 && (line[i] == '"' || line[i] == '\''))
            quote = line[i];
        else if (quote == 0 && line[i] == ' ')
            begin = i + 1;
    return begin;
}

/// As it must be typed to be one word.
std::string quoted(const std::string &word) {
    return word.find_first_of(" \t'\"\\#") == word.npos ? word
                                                        : '"' + manual::escaped(word, "\\\"") + '"';
}

/// Names that a terminal shows as they are; others are typed by their ids.
std::vector<std::string> names_of(const std::vector<Desktop> &desktops) {
    std::vector<std::string> names;
    for (const auto &desktop : desktops) {
        const auto &name = visible(desktop.name) == desktop.name ? desktop.name : desktop.id;
        if (visible(name) == name)
            names.push_back(quoted(name));
    }
    return names;
}

std::vector<std::string> long_options_of(const CLI::App &page) {
    std::vector<std::string> options;
    for (const auto *option : manual::shown_options(page))
        for (const auto &name : option->get_lnames())
            options.push_back("--" + name);
    return options;
}

/// The operands of a command are a desktop and, if there is another, one of a few words.
std::vector<std::string> operands_of(const CLI::App &page, std::size_t position,
                                     const std::function<std::vector<Desktop>()> &desktops) {
    const auto operands =
        page.get_options([](const CLI::Option *option) { return option->get_positional(); });
    if (position >= operands.size())
        return {};
    return position == 0 ? names_of(desktops()) : manual::choices_of(*operands[position]);
}

/// All that may follow these words, of which the first is a command.
std::vector<std::string> words_behind(const std::vector<std::string> &words, bool is_option,
                                      const CLI::App &commands,
                                      const std::function<std::vector<Desktop>()> &desktops) {
    const auto named = commands.get_subcommands(
        [&](const CLI::App *command) { return command->check_name(words.front()); });
    if (named.empty())
        return {};
    const auto *page = named.front();
    if (is_option)
        return long_options_of(*page);
    if (const auto *option = page->get_option_no_throw(words.back());
        option != nullptr && !manual::value_of(*option).empty())
        return manual::choices_of(*option);
    return operands_of(*page, words.size() - 1, desktops);
}

/// Without the quote before it, which may be typed or not.
std::string_view bare(std::string_view word) {
    return word.substr(word.starts_with('"') || word.starts_with('\'') ? 1 : 0);
}

} // namespace

Completion complete(std::string_view line, const CLI::App &commands,
                    const std::function<std::vector<Desktop>()> &desktops) {
    const auto begin = begin_of_last_word(line);
    const auto last = line.substr(begin);
    const auto words = words_of(line.substr(0, begin));
    std::vector<std::string> candidates;
    if (!words.empty())
        candidates = words_behind(words, last.starts_with('-'), commands, desktops);
    else
        for (const auto *command : commands.get_subcommands({}))
            candidates.push_back(command->get_name());
    std::erase_if(candidates, [&](const std::string &candidate) {
        return !kavro::ascii::starts_ignoring_case(bare(candidate), bare(last));
    });
    return {last.size(), candidates};
}

} // namespace kavro_cli
