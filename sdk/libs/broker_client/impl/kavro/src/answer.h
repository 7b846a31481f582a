#pragma once

#include "kavro/src/results.h"
#include "transport/post_result.h"
#include "xml/xml_document.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What the answers to all requests have in common: the check of the envelope, broker-reported
// errors, result ids, and elements that must be there.

namespace kavro {

/// Name of the first element that is missing, or null when all are there.
using MissingTag = const char *;

/// Logs that a required element is missing and gives the result to report. `handler` names who
/// reads the answer ("Hello response handler").
BrokerResult missing_tag(const char *handler, MissingTag tag);

/// The message element of a good answer; or none, and why in `failure`. A version that the answer
/// states is adopted as the version to speak from now on.
XmlNode get_response_node(const PostResult &post, std::string &protocol_version,
                          BrokerResult &failure);

/// Whether the message reports an error of the broker, and then which.
bool check_for_error_resp(XmlNode message, BrokerResult &failure);

/// Reads the variables of a list element; none reads as an empty list.
MissingTag read_variables(XmlNode list, Variables &variables);

/// `result` and `result-id` of an answer.
struct ResultElement {
    XmlNode element;
    std::string id;
    MissingTag missing = nullptr;

    /// The broker's words for the result; empty when it sent none.
    std::string text() const;
};
ResultElement read_result(XmlNode message);

/// Meaning of the result ids of one answer. A row has at least an `id`.
template <class Row>
struct ResultTable {
    const char *handler;      ///< who reads the answer, for the log
    eERROR_CODE unrecognised; ///< the code of an id that no row has
    std::span<const Row> rows;
};

struct ResultRow {
    std::string_view id;
    eERROR_CODE code;
};

/// Ids are compared to the letter.
template <class Row>
const Row *find_row(std::span<const Row> rows, std::string_view id) {
    const auto found = std::ranges::find(rows, id, &Row::id);
    return found == rows.end() ? nullptr : &*found;
}

/// A result id of one of the rows as it stands there; empty when it is none. What a broker sends
/// besides those may be anybody's secret.
template <class Row>
std::string_view known_id(std::span<const Row> rows, std::string_view id) {
    const Row *row = find_row(rows, id);
    return row != nullptr ? row->id : std::string_view();
}

/// The same for the ids of broker-reported errors.
std::string_view known_error_id(std::string_view id);

void log_unrecognised_result(const char *handler);

/// The row of a result id, or null, which is logged.
template <class Row>
const Row *look_up(const ResultTable<Row> &table, std::string_view id) {
    const Row *row = find_row(table.rows, id);
    if (row == nullptr)
        log_unrecognised_result(table.handler);
    return row;
}

/// The code of a result id.
eERROR_CODE code_of(const ResultTable<ResultRow> &table, std::string_view id);

/// Where the text of one element goes.
template <class Record, class Text = std::string>
struct TextField {
    std::string_view element; ///< a literal
    Text Record::*member;
    bool required = true;
};

/// Fills a record from the children of an element, in the table's order, up to the first required
/// one that is missing. `text_of` gives a child's text as the record keeps it.
template <class Record, class Text, std::size_t N, class TextOf>
MissingTag read_fields(XmlNode parent, const TextField<Record, Text> (&fields)[N], Record &record,
                       TextOf text_of) {
    for (const auto &field : fields) {
        if (const XmlNode child = parent.child(field.element))
            record.*field.member = text_of(child);
        else if (field.required)
            return field.element.data();
    }
    return nullptr;
}

template <class Record, std::size_t N>
MissingTag read_fields(XmlNode parent, const TextField<Record> (&fields)[N], Record &record) {
    return read_fields(parent, fields, record, [](XmlNode child) { return child.text(); });
}

/// The texts of all children of that name, in document order.
std::vector<std::string> child_texts(XmlNode parent, std::string_view name);

/// The text of a child; empty when there is none.
std::string child_text(XmlNode parent, std::string_view name);

} // namespace kavro
