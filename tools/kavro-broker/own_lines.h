#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kavro_cli {

using TextLines = std::vector<std::string>;

/// A text file that nobody but the user may have written, nor read. Everything throws a Failure
/// when it is not fit to be believed.
class OwnLines {
public:
    /// In this folder, which is made when something is written; an empty name is no folder.
    OwnLines(std::string folder, std::string name)
        : folder_(std::move(folder)), name_(std::move(name)) {}

    TextLines all() const;

    /// False when there was nothing to change.
    bool change(const std::function<void(TextLines &lines)> &edit) const;

private:
    std::string path() const { return folder_ + '/' + name_; }

    std::string folder_, name_;
};

} // namespace kavro_cli
