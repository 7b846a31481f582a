#pragma once

#include "answers.h"
#include "session.h"

namespace kavro_cli {

/// Shows the broker's current dialog to the user, if there is one, and sends back what was entered
/// and pressed.
void answer_dialog(Session &session, Answers &answers);

} // namespace kavro_cli
