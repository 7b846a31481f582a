#pragma once

#include "kavro/src/auth_method.h"

#include <span>

namespace kavro {

// The five ways to answer what the broker asks for; each has result ids of its own.

/// User name, password and domain.
extern const Message<AuthAnswer, std::string_view, std::string_view, std::string_view>
    password_message;
/// The answered fields and the button.
extern const Message<AuthAnswer, std::span<const DialogAnswer>, std::string_view> dialog_message;
extern const Message<AuthAnswer, std::string_view> oauth_message;
/// Whether the disclaimer is accepted.
extern const Message<AuthAnswer, bool> disclaimer_message;
/// User name, old password, new password and domain.
extern const Message<AuthAnswer, std::string_view, std::string_view, std::string_view,
                     std::string_view>
    password_update_message;

} // namespace kavro
