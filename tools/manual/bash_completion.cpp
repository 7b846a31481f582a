#include "manual.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace manual {
namespace {

std::string joined(const std::vector<std::string> &words, char separator) {
    std::string line;
    for (const auto &word : words)
        line += (line.empty() ? "" : std::string(1, separator)) + word;
    return line;
}

/// The words of "{one,other}", with blanks between them.
std::string choices_in(std::string value) {
    std::ranges::replace(value, ',', ' ');
    return value.starts_with('{') ? value.substr(1, value.size() - 2) : std::string();
}

/// What bash does after an option that takes such a value.
std::string reaction_to(const std::string &value) {
    if (const auto choices = choices_in(value); !choices.empty())
        return "words='" + choices + "'";
    if (value == "FILE" || value == "FOLDER")
        return std::string("compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -") +
               (value == "FILE" ? 'f' : 'd') + " -- \"$current\"); return";
    return "return";
}

std::vector<std::string> names_of(const CLI::Option &option) {
    return CLI::detail::split(option.get_name(false, true), ',');
}

/// All that may stand on the command line where no option waits for its value.
std::string words_after(const CLI::App &app) {
    std::vector<std::string> words;
    for (const auto *command : commands_of(app))
        words.push_back(command->get_name());
    for (const auto *option : shown_options(app)) {
        if (option->nonpositional())
            std::ranges::copy(names_of(*option), std::back_inserter(words));
        else if (const auto choices = choices_in(value_of(*option)); !choices.empty())
            words.push_back(choices);
    }
    return joined(words, ' ');
}

} // namespace

std::string bash_completion(const CLI::App &app) {
    std::string function = '_' + app.get_name();
    std::ranges::replace(function, '-', '_');
    auto pages = commands_of(app);
    std::vector<std::string> commands;
    for (const auto *page : pages)
        commands.push_back(page->get_name());
    pages.push_back(&app);

    std::map<std::string, std::vector<std::string>> options; // by what follows them
    for (const auto *page : pages)
        for (const auto *option : shown_options(*page))
            if (const auto value = value_of(*option); option->nonpositional() && !value.empty())
                for (const auto &name : names_of(*option)) {
                    auto &names = options[reaction_to(value)];
                    if (std::ranges::count(names, name) == 0)
                        names.push_back(name);
                }

    std::ostringstream out;
    out << "# Completion of " << app.get_name() << " for bash.\n"
        << function << "() {\n"
        << "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
        << "  local word words command=\n"
        << "  COMPREPLY=()\n"
        << "  [ \"$current\" != = ] || current=\n"
        << "  [ \"$previous\" != = ] || previous=${COMP_WORDS[COMP_CWORD - 2]}\n";
    if (!commands.empty())
        out << "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
            << "    case $word in " << joined(commands, '|') << ") command=$word; break ;; esac\n"
            << "  done\n";
    out << "  case $command in\n";
    for (const auto *page : pages)
        out << "  " << (page == &app ? "''" : page->get_name()) << ") words='" << words_after(*page)
            << "' ;;\n";
    out << "  esac\n  case $previous in\n";
    for (const auto &[reaction, names] : options)
        out << "  " << joined(names, '|') << ") " << reaction << " ;;\n";
    out << "  esac\n"
        << "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
        << "}\n"
        << "complete -F " << function << ' ' << app.get_name() << '\n';
    return out.str();
}

} // namespace manual
