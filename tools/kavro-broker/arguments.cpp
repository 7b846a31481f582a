#include "arguments.h"

#include "display_text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <string_view>

namespace kavro_cli {
namespace {

using Words = std::vector<std::string>;

CLI::ParseError unexpected(const std::string &sentence) {
    return {sentence, CLI::ExitCodes::ExtrasError};
}

std::string name_of(const std::string &option) {
    return option.substr(0, option.find('='));
}

const CLI::Option *find_option(const std::string &name, const CLI::App &app) {
    const auto *found = app.get_option_no_throw(name);
    for (const auto *command : app.get_subcommands({}))
        if (found == nullptr)
            found = command->get_option_no_throw(name);
    return found;
}

bool is_command(const std::string &word, const CLI::App &app) {
    return std::ranges::any_of(app.get_subcommands({}),
                               [&word](const auto *command) { return command->check_name(word); });
}

/// How many letters must be changed, added or taken away to make one word of the other.
std::size_t distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (const char letter : from) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const std::size_t changed = diagonal + (letter == to[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({changed, row[i] + 1, row[i + 1] + 1});
        }
    }
    return row.back();
}

std::string sentence_on_command(const std::string &word, const CLI::App &app) {
    const auto far = [&word](const CLI::App *command) {
        const auto &name = command->get_name();
        return name.starts_with(word) ? 0 : distance(word, name);
    };
    const auto commands = app.get_subcommands({});
    const auto nearest = std::ranges::min_element(commands, {}, far);
    std::string sentence = fmt::format("There is no command \"{}\".", visible(word));
    if (nearest != commands.end() && far(*nearest) <= std::max<std::size_t>(1, word.size() / 3))
        sentence += fmt::format(" Did you mean {}?", (*nearest)->get_name());
    return sentence;
}

/// Before anything else could repeat it.
void refuse_secrets(const Words &arguments, const CLI::App &app) {
    for (const auto &argument : arguments) {
        const auto name = name_of(argument);
        if (name.starts_with('-') && looks_secret(name) && find_option(name, app) == nullptr)
            throw unexpected(fmt::format("There is no option {}, and no secret belongs on the "
                                         "command line, where everybody can read it.",
                                         visible(name)));
    }
}

/// The words that are neither options nor the values of some, up to an option that nobody knows.
std::vector<Words::iterator> operands_of(Words &arguments, const CLI::App &app) {
    std::vector<Words::iterator> operands;
    for (auto at = arguments.begin(); at != arguments.end(); ++at) {
        if (!at->starts_with('-')) {
            operands.push_back(at);
            continue;
        }
        const auto *option = find_option(name_of(*at), app);
        if (option == nullptr)
            break;
        const bool has_value_behind = option->get_expected_min() > 0 && at->find('=') == at->npos;
        if (has_value_behind && ++at == arguments.end())
            break;
    }
    return operands;
}

/// Makes options of the operands that name a profile, and leaves the others.
void spell_out_profile(std::vector<Words::iterator> &operands, const CLI::App &app) {
    if (find_option("--profile", app) == nullptr)
        return;
    std::erase_if(operands, [](Words::iterator word) {
        const bool is_profile = word->size() > 1 && word->front() == '@';
        if (is_profile)
            *word = "--profile=" + word->substr(1);
        return is_profile;
    });
}

/// In the order in which it was typed, without what stands behind the name of a secret.
std::string sentence_on(const Words &extras) {
    std::string sentence = "Not expected:";
    bool after_secret = false;
    for (const auto &word : extras) {
        const bool is_option = word.starts_with('-');
        const bool secret = is_option && looks_secret(name_of(word));
        if (is_option || !after_secret)
            sentence += ' ' + visible(secret ? name_of(word) : word);
        after_secret = secret;
    }
    return sentence;
}

} // namespace

bool looks_secret(const std::string &option) {
    static constexpr std::string_view parts[] = {"pas",   "word", "pwd",  "pin",
                                                 "token", "code", "auth", "secret"};
    return std::ranges::any_of(
        parts, [&](std::string_view part) { return option.find(part) != option.npos; });
}

void parse_arguments(Words arguments, CLI::App &app) {
    if (!arguments.empty() && arguments[0] == "help" &&
        (arguments.size() > 1 || !is_command("help", app))) {
        arguments.erase(arguments.begin());
        arguments.emplace_back("--help");
    }
    refuse_secrets(arguments, app);
    auto operands = operands_of(arguments, app);
    spell_out_profile(operands, app);
    if (!operands.empty()) {
        const auto command = operands.front();
        if (!is_command(*command, app))
            throw unexpected(sentence_on_command(*command, app));
        std::rotate(arguments.begin(), command, command + 1);
    }
    std::ranges::reverse(arguments);
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ExtrasError &) {
        throw unexpected(sentence_on(app.remaining(true)));
    }
}

} // namespace kavro_cli
