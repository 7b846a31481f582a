#pragma once

#include "secret.h"

#include <cstddef>
#include <string_view>

namespace kavro_cli {

/// Where the user is asked and told things; never the place of a command's result.
class Console {
public:
    enum class Echo { on, off };

    virtual ~Console() = default;

    virtual void write(std::string_view text) = 0;

    /// Shows a prompt and reads one line; false at the end of the input. With the echo off the
    /// prompt appears when typed characters are no longer shown, not before.
    virtual bool ask(std::string_view prompt, Secret &line, Echo echo) = 0;

    /// Columns of a line.
    virtual std::size_t width() const = 0;
};

} // namespace kavro_cli
