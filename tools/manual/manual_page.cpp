#include "manual.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace manual {
namespace {

/// The group of options that belong to one command alone.
constexpr const char *own_group = "Options";

/// A text that troff shows as it stands.
std::string escaped(const std::string &text) {
    std::string shown = text.starts_with('.') ? "\\&" : "";
    for (const char character : text)
        switch (character) {
        case '-':
            shown += "\\-";
            break;
        case '\\':
            shown += "\\e";
            break;
        case '\'':
            shown += "\\(aq";
            break;
        default:
            shown += character;
        }
    return shown;
}

std::string upper(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

/// A sentence as apropos(1) lists it.
std::string phrase(std::string sentence) {
    sentence.front() =
        static_cast<char>(std::tolower(static_cast<unsigned char>(sentence.front())));
    if (sentence.ends_with('.'))
        sentence.pop_back();
    return sentence;
}

/// Paragraphs are filled; lines that begin with blanks stay as they are.
void write_prose(const std::string &text, std::ostream &out) {
    std::istringstream lines(text);
    bool verbatim = false;
    for (std::string line; std::getline(lines, line);) {
        const bool indented = line.starts_with("  ");
        if (indented != verbatim)
            out << (indented ? ".PP\n.nf\n" : ".fi\n.PP\n");
        verbatim = indented;
        out << (line.empty() ? ".PP" : escaped(line)) << '\n';
    }
    if (verbatim)
        out << ".fi\n";
}

void write_option(const CLI::Option &option, std::ostream &out) {
    const bool positional = !option.nonpositional();
    out << ".TP\n\\fB" << escaped(option.get_name(positional, true)) << "\\fR";
    if (const auto value = value_of(option); !value.empty())
        out << " \\fI" << escaped(value) << "\\fR";
    out << '\n' << escaped(option.get_description()) << '\n';
}

void write_command(const CLI::App &command, std::ostream &out) {
    std::string synopsis = command.get_name() + " [OPTIONS]";
    std::ostringstream options;
    for (const auto *option : shown_options(command)) {
        if (option->get_positional())
            synopsis += ' ' + option->get_name(true);
        const bool own = option->get_positional() || option->get_group() == own_group;
        if (own && option != command.get_help_ptr())
            write_option(*option, options);
    }
    out << ".SS \"" << escaped(synopsis) << "\"\n"
        << escaped(command.get_description()) << ".\n.PP\n";
    write_prose(command.get_footer(), out);
    out << options.str();
}

/// The options that several commands have, once, by their groups.
void write_common_options(const CLI::App &app, std::ostream &out) {
    std::vector<std::string> groups;
    std::vector<std::pair<std::string, const CLI::Option *>> found;
    for (const auto *command : commands_of(app))
        for (const auto *option : shown_options(*command)) {
            const std::pair key(option->get_group() + ' ' + option->get_name(false, true), option);
            if (option->get_positional() || option->get_group() == own_group ||
                std::ranges::find(found, key.first, &decltype(found)::value_type::first) !=
                    found.end())
                continue;
            found.push_back(key);
            if (std::ranges::count(groups, option->get_group()) == 0)
                groups.push_back(option->get_group());
        }
    for (const auto &group : groups) {
        out << ".SS \"" << escaped(group) << "\"\n";
        for (const auto &[key, option] : found)
            if (option->get_group() == group)
                write_option(*option, out);
    }
}

} // namespace

std::string manual_page(const CLI::App &app) {
    const auto commands = commands_of(app);
    const auto name = escaped(app.get_name());
    std::ostringstream out;
    out << ".TH " << upper(name) << " 1\n.SH NAME\n"
        << name << " \\- " << escaped(phrase(app.get_description())) << "\n.SH SYNOPSIS\n.B "
        << name << (commands.empty() ? "" : " COMMAND") << "\n[OPTIONS]\n";
    if (!commands.empty())
        out << ".SH COMMANDS\n";
    for (const auto *command : commands)
        write_command(*command, out);
    out << ".SH OPTIONS\n";
    for (const auto *option : shown_options(app))
        write_option(*option, out);
    write_common_options(app, out);
    out << ".SH NOTES\n";
    write_prose(app.get_footer(), out);
    return out.str();
}

} // namespace manual
