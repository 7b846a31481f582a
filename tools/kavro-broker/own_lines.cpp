#include "own_lines.h"

#include "own_file.h"
#include "utils/src/safe_file.h"

#include <fmt/format.h>

#include <filesystem>
#include <sstream>

namespace kavro_cli {
namespace {

namespace fs = std::filesystem;

void make_private_folder(const std::string &folder) {
    if (fs::create_directories(folder))
        fs::permissions(folder, fs::perms::owner_all);
}

} // namespace

TextLines OwnLines::all() const {
    TextLines lines;
    if (folder_.empty())
        return lines;
    std::istringstream source(read_own_file(path()));
    for (std::string line; std::getline(source, line);)
        lines.push_back(line);
    return lines;
}

/// From reading to replacing under a lock, so that nothing is lost that another process writes.
bool OwnLines::change(const std::function<void(TextLines &lines)> &edit) const {
    if (folder_.empty())
        throw Failure(ExitStatus::usage, "NO_FOLDER",
                      fmt::format("There is no folder for the file {}.", name_));
    make_private_folder(folder_);
    const auto lock = lock_file(path() + ".lock");
    const auto before = all();
    auto lines = before;
    edit(lines);
    if (lines == before)
        return false;
    std::string text;
    for (const auto &line : lines)
        text += line + '\n';
    if (const auto failure = kavro::replace_file(path(), text))
        throw Failure(ExitStatus::usage, "NOT_WRITTEN",
                      fmt::format("{} could not be written: {}.", path(), failure.message()));
    return true;
}

} // namespace kavro_cli
