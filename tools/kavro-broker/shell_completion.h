#pragma once

#include "line_editor.h"
#include "records.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string_view>
#include <vector>

namespace kavro_cli {

/// What may stand at the end of a line of the shell: a command, or what that command takes.
/// `desktops` is called where one is wanted.
Completion complete(std::string_view line, const CLI::App &commands,
                    const std::function<std::vector<Desktop>()> &desktops);

} // namespace kavro_cli
