#pragma once

#include "options.h"
#include "records.h"

#include <iosfwd>
#include <string>

namespace kavro_cli {

/// Prints what a display client needs to open a desktop in the form that the options ask for. The
/// forms for programs hold the connect tag and the ticket, that for reading only with
/// `show_secrets`.
void print_handoff(const Desktop &desktop, const Connection &connection, const Options &options,
                   std::ostream &out);

/// A text as a word of a POSIX shell, which stands for that text whatever is in it.
std::string shell_quoted(const std::string &text);

} // namespace kavro_cli
