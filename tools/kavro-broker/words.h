#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kavro_cli {

/// The words of a line as a POSIX shell would tell them apart: quotes of both kinds and backslashes
/// keep blanks in a word, and a # in front of a word begins a comment. Nothing is substituted.
/// Throws a Failure when a quote is not closed.
std::vector<std::string> words_of(std::string_view line);

} // namespace kavro_cli
