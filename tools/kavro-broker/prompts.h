#pragma once

#include "console.h"
#include "secret.h"

#include <string>
#include <string_view>
#include <vector>

namespace kavro_cli {

/// Questions to the user. Labels and texts may come from the broker: they are made visible here.
/// Every question throws when the input ends before an answer.
class Prompts {
public:
    explicit Prompts(Console &console) : console_(console) {}

    /// Shows paragraphs, wrapped to the width of the console. An empty text shows nothing.
    void say(std::string_view text);

    /// Shows what has been made visible, as it is.
    void show(std::string_view lines) { console_.write(lines); }

    /// An empty answer means the preset.
    std::string text(std::string_view label, std::string_view preset = {});

    /// The same without showing what is typed, nor the preset.
    Secret secret(std::string_view label, std::string_view preset = {});

    /// The index of the option that was chosen by number or by its text.
    std::size_t choice(std::string_view label, const std::vector<std::string> &options,
                       std::size_t preset);

    bool agree(std::string_view question);

private:
    Secret ask(const std::string &prompt, Console::Echo echo);

    Console &console_;
};

} // namespace kavro_cli
