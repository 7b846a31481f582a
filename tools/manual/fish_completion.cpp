#include "completion.h"

#include <map>
#include <sstream>

namespace manual {
namespace {

std::string quoted(const std::string &text) {
    return '\'' + escaped(text, "\\'") + '\'';
}

/// What fish does for an option or operand behind its name.
std::string rule_for(const CLI::Option &option) {
    std::string rule;
    for (const auto &name : option.nonpositional() ? names_of(option) : std::vector<std::string>())
        rule += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    if (const auto choices = choices_of(option); !choices.empty())
        rule += " -x -a " + quoted(joined(choices, " "));
    else if (takes_file(option))
        rule += " -r -F";
    else if (takes_folder(option))
        rule += " -x -a '(__fish_complete_directories)'";
    else if (!value_of(option).empty())
        rule += " -x";
    return rule.empty() ? rule : rule + " -d " + quoted(option.get_description());
}

} // namespace

std::string fish_completion(const CLI::App &app) {
    const std::string complete = "complete -c " + app.get_name();
    std::ostringstream out;
    out << "# Completion of " << app.get_name() << " for fish.\n" << complete << " -f\n";
    const auto commands = commands_of(app);
    const std::string general = commands.empty() ? "" : " -n __fish_use_subcommand";
    for (const auto *option : shown_options(app))
        out << complete << general << rule_for(*option) << '\n';

    std::map<std::string, std::vector<std::string>> commands_with; // by the rules of their options
    for (const auto *command : commands) {
        out << complete << general << " -a " << command->get_name() << " -d "
            << quoted(command->get_description()) << '\n';
        for (const auto *option : shown_options(*command))
            commands_with[rule_for(*option)].push_back(command->get_name());
    }
    for (const auto &[rule, names] : commands_with)
        if (!rule.empty())
            out << complete << " -n '__fish_seen_subcommand_from " << joined(names, " ") << '\''
                << rule << '\n';
    return out.str();
}

} // namespace manual
