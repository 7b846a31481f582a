#include "completion.h"

#include <sstream>

namespace manual {
namespace {

/// In single quotes, where a colon would end a part.
std::string quoted(const std::string &text) {
    std::string shown;
    for (const char character : escaped(text, "\\:[]"))
        shown += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return shown;
}

/// What zsh offers for a value.
std::string action_for(const CLI::Option &option) {
    if (takes_file(option))
        return "_files";
    if (takes_folder(option))
        return "_files -/";
    const auto choices = choices_of(option);
    return choices.empty() ? " " : '(' + joined(choices, " ") + ')';
}

/// As _arguments(1) has them: '--name=[what it is for]:what it takes:what is offered'.
void write_option(const CLI::Option &option, std::ostream &out) {
    const auto value = value_of(option);
    const auto behind = value.empty() ? "" : ':' + quoted(value) + ':' + action_for(option);
    if (!option.nonpositional()) {
        out << " \\\n      ':" << quoted(option.get_name(true)) << ':' << action_for(option)
            << '\'';
        return;
    }
    for (const auto &name : names_of(option))
        out << " \\\n      '*" << name << (value.empty() || !name.starts_with("--") ? "" : "=")
            << '[' << quoted(option.get_description()) << ']' << behind << '\'';
}

void write_arguments(const CLI::App &page, const std::string &before, std::ostream &out) {
    out << "    _arguments" << (before.empty() ? "" : " ") << before;
    for (const auto *option : shown_options(page))
        write_option(*option, out);
}

/// The program's own page, where no command has been typed yet.
void write_general(const CLI::App &app, std::ostream &out) {
    out << "local curcontext=$curcontext state line word command\nlocal -a names=(\n";
    for (const auto *command : commands_of(app))
        out << "  '" << command->get_name() << ':' << quoted(command->get_description()) << "'\n";
    out << ")\n"
        << "for word in ${words[2,CURRENT-1]}; do\n"
        << "  [[ -z ${names[(r)$word:*]} ]] || { command=$word; break; }\n"
        << "done\n"
        << "case $command in\n"
        << "  '')\n";
    write_arguments(app, "-C '1: :->command'", out);
    out << " && return\n    _describe command names ;;\n";
}

} // namespace

std::string zsh_completion(const CLI::App &app) {
    std::ostringstream out;
    out << "#compdef " << app.get_name() << "\n# Completion of " << app.get_name() << " for zsh.\n";
    const auto commands = commands_of(app);
    if (commands.empty())
        write_arguments(app, "", out);
    else
        write_general(app, out);
    for (const auto *command : commands) {
        out << "  " << command->get_name() << ")\n";
        write_arguments(*command, "'1: :'", out); // which is the command itself
        out << " ;;\n";
    }
    out << (commands.empty() ? "\n" : "esac\n");
    return out.str();
}

} // namespace manual
