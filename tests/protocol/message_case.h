#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kavro {

/// An answer of a broker and what must come of it.
///
/// A file of cases reads: "=== name", then headers "key: value" (a key may come again), "---" and
/// the answer up to the next "===". Nothing else stands in an answer, so that it serves as it is
/// wherever answers are wanted. Headers that are left out mean: success, no texts, nothing logged,
/// an empty record. "\n" in a header is a line feed. Some headers stand for many cases at once:
///
/// - `request: A, B` reads the answer as one to each of these requests.
/// - `id: ID ... = CODE` puts each id in place of "@ID@"; "elsewhere" says that another case covers
///   it. Every id is also tried in lower case and with a blank behind it, which must be as
///   `unrecognised` and `unrecognised log` say.
/// - `required: HANDLER: element ...` lists elements without which the handler must complain, with
///   "=tag" behind one that is complained of under another name. Root and message are required
///   anyway, all other elements of the answer are optional. Each element is left out in turn.
struct MessageCase {
    std::string name;
    std::string request; ///< what it is an answer to
    bool oauth = false;
    std::string answer;

    std::string code = "ERROR_CODE_NONE";
    std::string message;
    std::string detected_by;
    std::string detail;
    std::string version = "2.1";                    ///< spoken afterwards; "2.1" before
    std::vector<std::string> errors;                ///< logged as errors
    std::vector<std::string> infos;                 ///< logged besides; not compared when empty
    std::optional<std::vector<std::string>> record; ///< not compared when there is none

    std::vector<std::pair<std::string, std::string>> ids;
    std::string unrecognised;
    std::string unrecognised_log;
    std::vector<std::pair<std::string, std::string>> required; ///< handler, elements
};

std::vector<MessageCase> read_cases(const std::string &file);

/// The case itself, or all those that its headers generate.
std::vector<MessageCase> expand(const MessageCase &written);

} // namespace kavro
