#pragma once

#include "kavro/src/request_text.h"
#include "kavro/src/results.h"
#include "transport/post_result.h"
#include "utils/src/assertion.h"
#include "utils/src/expected.h"
#include "xml/xml_document.h"

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the answers to all requests have in common: the check of the envelope, broker-reported
// errors, result ids, and elements that must be there.

namespace kavro {

/// What was read, or the name of the element that is missing for it.
template <class T = Done>
using Read = Expected<T>;

/// What a result id means.
struct ResultRow {
    std::string_view id;
    eERROR_CODE code;
};

/// How the answers to one message are read.
struct AnswerRules {
    const char *arrival{};       ///< logged when an answer is there, whatever it is
    const char *reader;          ///< who misses an element, for the log
    const char *result_reader{}; ///< who does not recognise a result id
    std::span<const ResultRow> rows{};
    eERROR_CODE unrecognised = ERROR_CODE_PROTOCOL_MANGLED_RESPONSE;
};

/// A good answer on its way into a record.
struct Answer {
    XmlNode message;
    const AnswerRules &rules;
    const Dialect &dialect;
    std::string_view result_id{}; ///< as known_result_id() spells it
};

/// Logs that a required element is missing and gives the result to report.
BrokerResult missing_tag(const char *reader, std::string_view tag);

/// A good answer, or why there is none.
Expected<Answer, BrokerResult> good_answer(const PostResult &post, const AnswerRules &rules,
                                           Dialect &dialect);

/// The message element of a good answer, or why there is none. A version that the answer states is
/// adopted as the version to speak from now on.
Expected<XmlNode, BrokerResult> get_response_node(const PostResult &post,
                                                  std::string &protocol_version);

/// The error that the broker reports in this message; without a code when it reports none.
BrokerResult check_for_error_resp(XmlNode message);

/// The child at the end of a path, each element of which is required.
Read<XmlNode> find(XmlNode parent, std::initializer_list<const char *> path);

/// Reads the variables of a list element; none reads as an empty list.
Read<Variables> read_variables(XmlNode list);

/// `result` and the meaning of its `result-id`.
struct ResultElement {
    XmlNode element;
    const ResultRow *row; ///< null for an id that the message does not have

    /// The broker's words for the result; empty when it sent none.
    std::string text() const;
};
Read<ResultElement> read_result(Answer &answer);

/// A result id that any message has, as it stands there; empty when it is none. What a broker sends
/// besides those may be anybody's secret.
std::string_view known_result_id(std::string_view id);

/// The code of a row; of none that of an unrecognised id, which is logged.
eERROR_CODE code_of(const Answer &answer, const ResultRow *row);

/// The outcome that the result id stands for, a failure in the broker's words.
BrokerResult read_outcome(Answer &answer);

/// The row with an id, compared to the letter, or null.
template <class Row, class Id>
const Row *find_row(std::span<const Row> rows, const Id &id) {
    for (const Row &row : rows) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}

/// The code that a result of the transport stands for.
template <class Result>
struct CodeRow {
    Result id;
    eERROR_CODE code;
};

/// A result that has no row is a programming error of `function`.
template <class Result, std::size_t N>
eERROR_CODE code_of(const CodeRow<Result> (&rows)[N], Result result, const char *function) {
    const auto *row = find_row(std::span<const CodeRow<Result>>(rows), result);
    broker_assert(row != nullptr, function);
    return row->code;
}

/// Where the text of one element goes.
template <class Record>
struct TextField {
    const char *element;
    std::string Record::*member;
    bool required = true;
};

/// Fills a record from the children of an element, in the table's order, up to the first required
/// one that is missing.
template <class Record, std::size_t N>
Read<> read_fields(XmlNode parent, const TextField<Record> (&fields)[N], Record &record) {
    for (const auto &field : fields) {
        if (const XmlNode child = parent.child(field.element))
            record.*field.member = child.text();
        else if (field.required)
            return field.element;
    }
    return {};
}

/// The texts of all children of that name, in document order.
std::vector<std::string> child_texts(XmlNode parent, std::string_view name);

/// The text of a child; empty when there is none.
std::string child_text(XmlNode parent, std::string_view name);

} // namespace kavro
