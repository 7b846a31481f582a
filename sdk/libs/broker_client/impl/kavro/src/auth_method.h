#pragma once

#include "kavro/src/results.h"
#include "utils/src/secure_text.h"
#include "xml/xml_document.h"

#include <string>
#include <string_view>

namespace kavro {

/// What an answer says about authentication, and the `next-authentication` element that tells it
/// again when the caller asks (empty: what was told before still holds).
struct AuthAnswer {
    cAUTH_RESULT auth;
    std::string next_authentication;
};

inline constexpr const char *authentication_handler = "Authentication handler";

/// Reads what the broker asks for next from the message's `next-authentication`.
BrokerResult process_authentication_method(XmlNode message, bool oauth_enabled, AuthAnswer &answer);

/// The `next-authentication` element whose only method is the given keyword.
std::string next_authentication(std::string_view method);

/// The document that answers the question for the current method out of what was told before.
SecureText authentication_method_answer(std::string_view protocol_version,
                                        std::string_view next_authentication);

} // namespace kavro
