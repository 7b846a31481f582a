#pragma once

#include "error_codes.h"
#include "fuzzing.h"
#include "kavro/src/answer.h"
#include "kavro/src/auth_method.h"

#include <string>

namespace fuzz {

using namespace kavro;

/// Codes that no answer leads to: the caller is told of them in another way, or never.
inline bool is_reported(eERROR_CODE code) {
    return code <= ERROR_CODE_RESERVED_57 && code != ERROR_CODE_AUTH_FAILED_EXPIRED_PASSWORD &&
           code != ERROR_CODE_VM_LIST_NO_USER && code != ERROR_CODE_CONNECT_DESKTOP_NO_USER;
}

/// Takes a body the way that every answer takes and has `read(message, version)` read what is in
/// it. Whatever the body, one code comes of it that a caller can be told.
template <class Read>
BrokerResult read_answer(std::string_view body, Read read) {
    PostResult post;
    post.document = XmlDocument::parse(SecureText(body), post.error_text);
    if (!post.document)
        post.result = POST_RESULT_MANGLED_RESPONSE;
    std::string version = "2.1";
    BrokerResult result;
    if (const XmlNode message = get_response_node(post, version, result))
        result = read(message, std::string_view(version));
    promise(version == "2.0" || version == "2.1", "only a known version is adopted");
    promise(is_reported(result.code), "a code that a caller can be told");
    return result;
}

/// What an answer asks for next is what the caller is told now and whenever it asks again.
inline void check_next_method(const BrokerResult &result, const AuthAnswer &answer, bool oauth) {
    if (result.code != ERROR_CODE_NONE)
        return;
    convert_from_auth_result_value(answer.auth.method); // stops at a value that has no public one
    AuthAnswer again;
    const auto told = read_answer(authentication_method_answer("2.1", answer.next_authentication),
                                  [&](XmlNode message, std::string_view) {
                                      return process_authentication_method(message, oauth, again);
                                  });
    promise(told.code == ERROR_CODE_NONE, "what is next can be asked again");
    promise(again.auth.method == answer.auth.method, "what is next stays the same");
}

} // namespace fuzz
