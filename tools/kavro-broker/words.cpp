#include "words.h"

#include "failure.h"

namespace kavro_cli {
namespace {

/// Whether a backslash takes its meaning from what follows (POSIX Shell and Utilities, 2.2).
bool escapes(char quote, char following) {
    if (quote == '"')
        return std::string_view("$`\"\\").find(following) != std::string_view::npos;
    return quote == 0;
}

} // namespace

std::vector<std::string> words_of(std::string_view line) {
    std::vector<std::string> words;
    bool in_word = false;
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char character = line[i];
        const bool blank =
            character == ' ' || character == '\t' || character == '\r' || character == '\n';
        if (quote == 0 && blank) {
            in_word = false;
            continue;
        }
        if (quote == 0 && !in_word && character == '#')
            break;
        if (!in_word)
            words.emplace_back();
        in_word = true;
        if (character == quote) {
            quote = 0;
            continue;
        }
        if (quote == 0 && (character == '\'' || character == '"')) {
            quote = character;
            continue;
        }
        if (character == '\\' && i + 1 < line.size() && escapes(quote, line[i + 1]))
            character = line[++i];
        words.back() += character;
    }
    if (quote != 0)
        throw Failure(ExitStatus::usage, "UNCLOSED_QUOTE", "A quote is not closed.");
    return words;
}

} // namespace kavro_cli
