#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

// What tests ask of the system that they run on.

namespace test_support {

/// A new empty folder. Whoever asked for it removes it.
std::filesystem::path fresh_folder();

// A source file for each platform.

/// Sets an environment variable, or removes it, and returns what it was.
std::optional<std::string> exchange_variable(const char *name,
                                             const std::optional<std::string> &value);

/// Files, sockets and the like that this process holds open.
std::ptrdiff_t open_descriptors();

/// Bytes of memory that this process held at most.
std::size_t peak_memory();

/// A descriptor from which that text is read, and then the end.
int descriptor_with(const std::string &text);
void close_descriptor(int descriptor);

/// Whether abort() ended a process with this status.
bool ended_by_abort(int status);

/// What a command prints.
std::string output_of(const std::string &command);

} // namespace test_support
