#include "pages.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

QLineEdit *edit_for(const kavro_broker::dialog_field &field) {
    auto *edit = new QLineEdit(field.value.c_str());
    edit->setObjectName(field.name.c_str());
    edit->setAccessibleName(field.label.c_str());
    if (field.hidden)
        edit->setEchoMode(QLineEdit::Password);
    return edit;
}

/// Qt frees its own copies of what was typed without wiping them; emptied fields at least go soon.
SharedAnswer read(const QList<QLineEdit *> &edits, const std::string &button) {
    auto answer = std::make_shared<Answer>();
    answer->button = button;
    answer->fields.reserve(edits.size());
    for (auto *edit : edits) {
        auto typed = edit->text().toUtf8();
        answer->fields.push_back({edit->objectName().toStdString(), typed.data()});
        typed.fill('\0');
        if (edit->echoMode() == QLineEdit::Password)
            edit->clear();
    }
    return answer;
}

} // namespace

QLabel *plain_label(const std::string &text) {
    auto *label = new QLabel(text.c_str());
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    return label;
}

QWidget *question_page(const Question &question, std::function<void(SharedAnswer)> answered) {
    auto *page = new QWidget;
    auto *form = new QFormLayout(page);
    for (const auto &text : {question.prompt_text, question.error_text})
        if (!text.empty())
            form->addRow(plain_label(text));

    QList<QLineEdit *> edits;
    for (const auto &field : question.fields) {
        if (field.read_only) {
            form->addRow(plain_label(field.label), plain_label(field.value));
        } else {
            edits += edit_for(field);
            form->addRow(plain_label(field.label), edits.back());
        }
    }
    if (!edits.empty())
        page->setFocusProxy(edits.front());

    auto *box = new QDialogButtonBox;
    form->addRow(box);
    for (const auto &[id, label, is_default] : question.buttons) {
        const auto text = QString(label.c_str()).replace("&", "&&");
        auto *button = box->addButton(text, QDialogButtonBox::ActionRole);
        button->setAutoDefault(true); // Return presses it while it has the focus
        QObject::connect(button, &QPushButton::clicked,
                         [=, id = id] { answered(read(edits, id)); });
        if (is_default)
            for (const auto *edit : edits)
                QObject::connect(edit, &QLineEdit::returnPressed, button, &QPushButton::click);
    }
    return page;
}
