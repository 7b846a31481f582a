// The log-in as the broker asks for it, step by step.
#pragma once

#include "question.h"

#include <optional>

/// Belongs to the thread that asks the broker, because its functions wait.
class LogIn {
public:
    /// Sends the answer, unless it is null, and finds out what the broker wants to know next:
    /// nothing once the user is logged in.
    std::optional<Question> go_on(kavro_broker::broker &broker, const SharedAnswer &given);

private:
    std::optional<Question> next(kavro_broker::broker &broker);

    const struct Step *step_ = nullptr;
    SharedAnswer password_ = std::make_shared<Answer>(); // one that has expired is sent once more
};
