#pragma once

#include "error_codes.h"
#include "fuzzing.h"
#include "kavro/src/auth_method.h"

#include <string>

namespace fuzz {

using namespace kavro;

/// Codes that no answer leads to: the caller is told of them in another way, or never.
inline bool is_reported(eERROR_CODE code) {
    return code <= ERROR_CODE_RESERVED_57 && code != ERROR_CODE_AUTH_FAILED_EXPIRED_PASSWORD &&
           code != ERROR_CODE_VM_LIST_NO_USER && code != ERROR_CODE_CONNECT_DESKTOP_NO_USER;
}

/// Takes a body the way that every answer takes, into a record. Whatever the body, one code comes
/// of it that a caller can be told.
template <class Record, class... Given>
BrokerResult read_answer(const Message<Record, Given...> &message, std::string_view body,
                         Record &record, bool oauth = false) {
    PostResult post;
    post.document = XmlDocument::parse(SecureText(body), post.error_text);
    if (!post.document)
        post.result = POST_RESULT_MANGLED_RESPONSE;
    Dialect dialect{.oauth = oauth};
    const BrokerResult result = kavro::read_answer(message, post, dialect, record);
    promise(dialect.version == "2.0" || dialect.version == "2.1",
            "only a known version is adopted");
    promise(is_reported(result.code), "a code that a caller can be told");
    return result;
}

/// What an answer asks for next is what the caller is told now and whenever it asks again.
inline void check_next_method(const BrokerResult &result, const AuthAnswer &answer, bool oauth) {
    if (result.code != ERROR_CODE_NONE)
        return;
    convert_from_auth_result_value(answer.auth.method); // stops at a value that has no public one
    AuthAnswer again;
    const auto told = read_answer(
        authentication_method_message,
        request_text(authentication_method_message, {}, answer.next_authentication), again, oauth);
    promise(told.code == ERROR_CODE_NONE, "what is next can be asked again");
    promise(again.auth.method == answer.auth.method, "what is next stays the same");
}

} // namespace fuzz
