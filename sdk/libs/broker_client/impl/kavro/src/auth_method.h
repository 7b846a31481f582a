#pragma once

#include "kavro/src/message.h"

namespace kavro {

/// What an answer says about authentication, and the `next-authentication` element that tells it
/// again when the caller asks (empty: what was told before still holds).
struct AuthAnswer {
    cAUTH_RESULT auth;
    std::string next_authentication;
};

inline constexpr std::string_view already_done = "AUTHENTICATION_ALREADY_DONE";
inline constexpr std::string_view password_expired = "AUTHENTICATION_PASSWORD_EXPIRED";

/// The question for the current method, which is answered here: with the `next-authentication` that
/// was told last.
extern const Message<AuthAnswer, std::string_view> authentication_method_message;

/// Reads what the broker asks for next from the message's `next-authentication`.
BrokerResult process_authentication_method(Answer &answer, AuthAnswer &record);

/// Something is missing in an answer about authentication: nothing of it counts.
BrokerResult missing_authentication(AuthAnswer &record, std::string_view tag);

/// The method that has this keyword is the next one, as if the broker had sent just that.
void set_method(AuthAnswer &record, std::string_view keyword);

} // namespace kavro
