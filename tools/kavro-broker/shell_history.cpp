#include "shell_history.h"

#include "arguments.h"

#include <algorithm>
#include <sstream>

namespace kavro_cli {
namespace {

constexpr std::size_t most_lines = 1000;

bool may_be_kept(const std::string &line) {
    if (line.empty() || line.front() == ' ')
        return false;
    std::istringstream words(line);
    for (std::string word; words >> word;)
        if (looks_secret(word))
            return false;
    return true;
}

} // namespace

void ShellHistory::add(const std::string &line) const {
    if (!may_be_kept(line))
        return;
    lines_.change([&](TextLines &lines) {
        std::erase(lines, line);
        lines.push_back(line);
        if (lines.size() > most_lines)
            lines.erase(lines.begin());
    });
}

} // namespace kavro_cli
