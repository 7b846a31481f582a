#pragma once

#include "console.h"
#include "interruption.h"
#include "secret.h"

#include <cstddef>
#include <memory>

namespace kavro_cli {

/// The terminal that the process was started from, whatever its input and output were redirected
/// to. Null when there is none. Reading from it ends with `interruption`.
std::unique_ptr<Console> open_terminal(const Interruption &interruption);

/// Gives a terminal back as it was found: echo on, the current line free of the spinner. For the
/// way out that runs no destructors.
void restore_terminal();

/// Whether somebody types what can be read from a descriptor, or sees what is written to it.
bool is_terminal(int descriptor);

/// Whether what is written to a descriptor shows on a terminal that understands control sequences.
bool takes_control_sequences(int descriptor);

inline constexpr std::size_t longest_line = 64 * 1024;

/// Reads one byte from a descriptor; false at the end of the input.
bool read_character(int descriptor, char &character, const Interruption &interruption);

/// Reads one line without its end from a descriptor, and not a byte more, so that several secrets
/// may follow each other on one descriptor. False when the input ends before a line has begun.
bool read_line(int descriptor, Secret &line, const Interruption &interruption);

} // namespace kavro_cli
