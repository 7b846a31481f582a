#include "prompts.h"

#include "display_text.h"
#include "failure.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace kavro_cli {
namespace {

std::string prompt_for(std::string_view label, std::string_view preset) {
    return preset.empty() ? visible(label) + ": "
                          : fmt::format("{} [{}]: ", visible(label), visible(preset));
}

} // namespace

void Prompts::say(std::string_view text) {
    const auto wrapped = word_wrapped(visible(text, Lines::many), console_.width());
    const auto end = wrapped.find_last_not_of('\n') + 1;
    if (end != 0)
        console_.write(wrapped.substr(0, end) + "\n");
}

Secret Prompts::ask(const std::string &prompt, Console::Echo echo) {
    Secret answer;
    if (!console_.ask(prompt, answer, echo))
        throw Failure(ExitStatus::no_answer, "NO_ANSWER", "The input ended before an answer.");
    return answer;
}

std::string Prompts::text(std::string_view label, std::string_view preset) {
    const auto answer = ask(prompt_for(label, preset), Console::Echo::on);
    return std::string(answer.empty() ? preset : answer.view());
}

Secret Prompts::secret(std::string_view label, std::string_view preset) {
    auto answer = ask(prompt_for(label, {}), Console::Echo::off);
    return answer.empty() ? Secret(preset) : answer;
}

std::size_t Prompts::choice(std::string_view label, const std::vector<std::string> &options,
                            std::size_t preset) {
    std::string menu;
    for (std::size_t i = 0; i < options.size(); ++i)
        menu += fmt::format("  {}) {}\n", i + 1, visible(options[i]));
    console_.write(menu);
    for (;;) {
        const auto answer = text(label, std::to_string(preset + 1));
        std::size_t number = 0;
        const auto *end = answer.data() + answer.size();
        const auto [rest, error] = std::from_chars(answer.data(), end, number);
        if (error == std::errc() && rest == end && number >= 1 && number <= options.size())
            return number - 1;
        const auto named = std::ranges::find(options, answer);
        if (named != options.end())
            return static_cast<std::size_t>(named - options.begin());
        say(fmt::format("Please enter a number from 1 to {}.", options.size()));
    }
}

bool Prompts::agree(std::string_view question) {
    for (;;) {
        const auto answer = text(fmt::format("{} (y/n)", question));
        if (answer == "y" || answer == "Y" || answer == "yes")
            return true;
        if (answer == "n" || answer == "N" || answer == "no")
            return false;
    }
}

} // namespace kavro_cli
