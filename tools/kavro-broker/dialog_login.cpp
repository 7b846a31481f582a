#include "dialog_login.h"

#include <fmt/format.h>

#include <algorithm>

namespace kavro_cli {
namespace {

using kavro_broker::dialog_button;
using kavro_broker::dialog_field;
using Fields = std::vector<std::pair<std::string, Secret>>;

/// Labels of fields come with and without a colon.
std::string label_of(const dialog_field &field) {
    const auto &label = field.label.empty() ? field.name : field.label;
    return label.substr(0, label.find_last_not_of(": ") + 1);
}

const std::string &label_of(const dialog_button &button) {
    return button.label.empty() ? button.id : button.label;
}

bool is_secret(const dialog_field &field) {
    return field.hidden || !field.loggable;
}

/// What was given beforehand for a field, under its name or else its label.
std::optional<Secret> take(std::map<std::string, Secret> &given, const dialog_field &field) {
    auto node = given.extract(field.name);
    if (!node)
        node = given.extract(field.label);
    return node ? std::optional(std::move(node.mapped())) : std::nullopt;
}

const char *hint(const dialog_field &field) {
    switch (field.text_type) {
    case KAVRO_BROKER_TEXT_TYPE_NUMBER:
        return " (a number)";
    case KAVRO_BROKER_TEXT_TYPE_EMAIL:
        return " (an e-mail address)";
    case KAVRO_BROKER_TEXT_TYPE_URL:
        return " (a web address)";
    case KAVRO_BROKER_TEXT_TYPE_TEL:
        return " (a telephone number)";
    default:
        return "";
    }
}

Secret field_value(const dialog_field &field, Answers &answers) {
    if (auto given = take(answers.secret_fields, field))
        return std::move(*given);
    if (auto given = take(answers.plain_fields, field)) {
        if (!is_secret(field))
            return std::move(*given);
        throw Failure(ExitStatus::usage, "SECRET_ON_COMMAND_LINE",
                      fmt::format("The field \"{}\" is secret: give it with --answer-fd, and "
                                  "change it if this was real.",
                                  label_of(field)));
    }
    if (answers.prompts == nullptr && !field.value.empty())
        return Secret(field.value);
    const auto option = is_secret(field) ? fmt::format("--answer-fd {}=N", field.name)
                                         : fmt::format("--answer {}=VALUE", field.name);
    auto &prompts = answers.ask(fmt::format("\"{}\"", label_of(field)), option);
    const auto label = label_of(field) + hint(field);
    return field.hidden ? prompts.secret(label, field.value)
                        : Secret(prompts.text(label, field.value));
}

Fields field_values(const kavro_broker::dialog &dialog, Answers &answers) {
    Fields values;
    for (const auto &field : dialog.fields)
        if (!field.read_only)
            values.emplace_back(field.name, field_value(field, answers));
        else if (answers.prompts != nullptr)
            answers.prompts->say(fmt::format("{}: {}", label_of(field), field.value));
    return values;
}

std::string pressed_button(const kavro_broker::dialog &dialog, const Answers &answers) {
    const auto &buttons = dialog.buttons;
    std::vector<std::string> labels;
    for (const auto &button : buttons)
        labels.push_back(label_of(button));

    if (answers.button) {
        const auto wanted = std::ranges::find_if(buttons, [&](const dialog_button &button) {
            return button.id == *answers.button || button.label == *answers.button;
        });
        if (wanted != buttons.end())
            return wanted->id;
        if (answers.prompts == nullptr)
            throw Failure(ExitStatus::usage, "UNKNOWN_BUTTON",
                          fmt::format("The broker's dialog has no button \"{}\", but: {}.",
                                      *answers.button, fmt::join(labels, ", ")));
    }
    if (buttons.size() <= 1)
        return buttons.empty() ? std::string() : buttons.front().id;

    const auto preset = std::ranges::find_if(buttons, &dialog_button::is_default);
    if (preset != buttons.end() && answers.prompts == nullptr)
        return preset->id;
    auto &prompts =
        answers.ask(fmt::format("a button ({})", fmt::join(labels, ", ")), "--button ID");
    const auto index = preset == buttons.end() ? 0 : preset - buttons.begin();
    return buttons[prompts.choice("Button", labels, static_cast<std::size_t>(index))].id;
}

} // namespace

void answer_dialog(Session &session, Answers &answers) {
    const auto dialog = session.dialog();
    if (answers.prompts != nullptr) {
        answers.prompts->say(dialog.prompt_text);
        answers.prompts->say(dialog.error_text);
    }
    try {
        const auto values = field_values(dialog, answers);
        session.send_dialog(pressed_button(dialog, answers), values);
    } catch (Failure &failure) {
        if (failure.status == ExitStatus::no_answer)
            failure.broker_message =
                dialog.error_text.empty() ? dialog.prompt_text : dialog.error_text;
        throw;
    }
}

} // namespace kavro_cli
