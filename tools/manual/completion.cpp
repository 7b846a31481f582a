#include "completion.h"

#include <algorithm>

namespace manual {

std::vector<std::string> names_of(const CLI::Option &option) {
    return CLI::detail::split(option.get_name(false, true), ',');
}

std::vector<std::string> choices_of(const CLI::Option &option) {
    const auto value = value_of(option);
    return value.starts_with('{') ? CLI::detail::split(value.substr(1, value.size() - 2), ',')
                                  : std::vector<std::string>();
}

bool takes_file(const CLI::Option &option) {
    return value_of(option) == "FILE";
}

bool takes_folder(const CLI::Option &option) {
    return value_of(option) == "FOLDER";
}

std::string joined(const std::vector<std::string> &words, const std::string &separator) {
    std::string line;
    for (const auto &word : words)
        line += (line.empty() ? "" : separator) + word;
    return line;
}

std::string escaped(const std::string &text, std::string_view characters) {
    std::string shown;
    for (const char character : text) {
        if (characters.find(character) != characters.npos)
            shown += '\\';
        shown += character;
    }
    return shown;
}

} // namespace manual
