#pragma once

#include "kavro/src/answer.h"
#include <type_traits>

namespace kavro {

/// Everything about one message of the protocol: what stands in the request and how its answer is
/// read. `Given` is what the request tells, `Record` what the answer is read into.
template <class Record, class... Given>
struct Message {
    std::string_view element;
    std::string_view method{};                        ///< the element's attribute of that name
    void (*write)(RequestText &, Given...) = nullptr; ///< what is in the element; null for nothing
    BrokerResult (*read)(Answer &, Record &) = nullptr;
    AnswerRules answer{};
    const char *completion; ///< who must not be missing when the answer is there
};

/// The record of an answer that says nothing but its result.
struct Nothing {};
inline BrokerResult read_nothing(Answer &answer, Nothing &) {
    return read_outcome(answer);
}

/// The whole text of a request.
template <class Record, class... Given>
SecureText request_text(const Message<Record, Given...> &message, const Dialect &dialect,
                        const std::type_identity_t<Given> &...given) {
    RequestText request(dialect.version);
    if (message.write == nullptr)
        return std::move(request.empty(message.element)).finish();
    request.open(message.element, message.method);
    message.write(request, given...);
    return std::move(request.close(message.element)).finish();
}

/// Reads an answer, good or not, into a record.
template <class Record, class... Given>
BrokerResult read_answer(const Message<Record, Given...> &message, const PostResult &post,
                         Dialect &dialect, Record &record) {
    auto answer = good_answer(post, message.answer, dialect);
    if (!answer)
        return answer.error();
    BrokerResult result = message.read(*answer, record);
    result.result_id = answer->result_id;
    return result;
}

} // namespace kavro
