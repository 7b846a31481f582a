#pragma once

#include "own_lines.h"

namespace kavro_cli {

/// The lines that were typed into shells, in a file that nobody else can read. A line with a word
/// that looks like the name of a secret is not kept, nor one that begins with a blank.
class ShellHistory {
public:
    explicit ShellHistory(std::string folder) : lines_(std::move(folder), "shell_history") {}

    /// The oldest first.
    TextLines lines() const { return lines_.all(); }

    void add(const std::string &line) const;

private:
    OwnLines lines_;
};

} // namespace kavro_cli
