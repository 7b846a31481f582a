#pragma once

#include "answers.h"
#include "session.h"

#include <string>

namespace kavro_cli {

/// Answers whatever the broker asks until it wants nothing more. Answers that the broker refuses
/// are asked for again, as often as most log-in prompts do.
class Login {
public:
    Login(Session &session, Answers answers, std::string login_name)
        : session_(session), answers_(std::move(answers)), user_(std::move(login_name)) {}

    void run();

private:
    void answer(uint32_t method);
    void answer_password();
    void answer_expired_password();
    void answer_disclaimer();
    void answer_oauth();

    void find_user();
    void find_domain();
    Secret new_password();

    Session &session_;
    Answers answers_;
    std::string user_; ///< a proposal until the user was found
    std::string domain_;
    bool user_found_ = false;
    Secret password_;
};

} // namespace kavro_cli
