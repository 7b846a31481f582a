#pragma once

#include "manual.h"

#include <string>
#include <string_view>
#include <vector>

// What the scripts for all shells are made of.

namespace manual {

/// "--json", and "-h" beside "--help".
std::vector<std::string> names_of(const CLI::Option &option);

/// The values of an option that takes one of a few words.
std::vector<std::string> choices_of(const CLI::Option &option);

bool takes_file(const CLI::Option &option);
bool takes_folder(const CLI::Option &option);

std::string joined(const std::vector<std::string> &words, const std::string &separator);

/// With a backslash before each of these characters.
std::string escaped(const std::string &text, std::string_view characters);

} // namespace manual
