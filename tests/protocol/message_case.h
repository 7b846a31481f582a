#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kavro {

/// An answer of a broker and what must come of it.
///
/// A file of cases reads: "=== name", then headers "key: value" (a key may come again), "---" and
/// the answer up to the next "===". The headers are `request`, `oauth`, and what must come of it:
/// `code`, `message`, `detected by`, `detail`, the `version` that is spoken afterwards, errors in
/// the `log`, what else is logged (`info`, not compared where there is none) and the lines of the
/// `record`. Nothing else stands in an answer, so that it serves as it is
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
    std::string answer;
    std::map<std::string, std::vector<std::string>, std::less<>> headers;
    bool whole = true; ///< the record and what is logged besides errors are compared, too

    /// What these headers say, in their order.
    std::vector<std::string> all(std::string_view key) const;
    /// What the last of them says.
    std::string last(std::string_view key, const std::string &otherwise = {}) const;
    void add(const std::string &key, const std::string &value) { headers[key].push_back(value); }
};

std::vector<MessageCase> read_cases(const std::string &file);

/// The case itself, or all those that its headers generate.
std::vector<MessageCase> expand(const MessageCase &written);

} // namespace kavro
