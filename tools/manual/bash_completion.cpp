#include "completion.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace manual {
namespace {

/// What bash does after an option that takes such a value.
std::string reaction_to(const CLI::Option &option) {
    if (const auto choices = choices_of(option); !choices.empty())
        return "words='" + joined(choices, " ") + "'";
    if (takes_file(option) || takes_folder(option))
        return std::string("compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -") +
               (takes_file(option) ? 'f' : 'd') + " -- \"$current\"); return";
    return "return";
}

/// All that may stand on the command line where no option waits for its value.
std::string words_after(const CLI::App &app) {
    std::vector<std::string> words;
    for (const auto *command : commands_of(app))
        words.push_back(command->get_name());
    for (const auto *option : shown_options(app)) {
        if (option->nonpositional())
            std::ranges::copy(names_of(*option), std::back_inserter(words));
        else
            std::ranges::copy(choices_of(*option), std::back_inserter(words));
    }
    return joined(words, " ");
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
            if (option->nonpositional() && !value_of(*option).empty())
                for (const auto &name : names_of(*option)) {
                    auto &names = options[reaction_to(*option)];
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
            << "    case $word in " << joined(commands, "|") << ") command=$word; break ;; esac\n"
            << "  done\n";
    out << "  case $command in\n";
    for (const auto *page : pages)
        out << "  " << (page == &app ? "''" : page->get_name()) << ") words='" << words_after(*page)
            << "' ;;\n";
    out << "  esac\n  case $previous in\n";
    for (const auto &[reaction, names] : options)
        out << "  " << joined(names, "|") << ") " << reaction << " ;;\n";
    out << "  esac\n"
        << "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
        << "}\n"
        << "complete -F " << function << ' ' << app.get_name() << '\n';
    return out.str();
}

} // namespace manual
