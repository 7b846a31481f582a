#include "picker.h"
#include "error_text.h"
#include "pages.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QStatusBar>

Picker::Picker(const std::string &address, ShowDesktop show_desktop)
    : message_(plain_label("")),
      back_(new QPushButton),
      address_(address),
      show_desktop_(std::move(show_desktop)) {
    setWindowTitle("Desktops");
    resize(640, 300);
    message_->setMargin(8);
    setMenuWidget(message_);
    statusBar()->addPermanentWidget(back_);
    connect(back_, &QPushButton::clicked, this, [this] { go_back(); });
    ask_for_broker();
    if (!address.empty())
        begin(address_);
}

void Picker::ask_for_broker() {
    logged_in_ = false;
    broker_.reset(); // cancels what is under way
    log_in_ = {};
    const Question question{
        "Which broker?", "", {{"address", "Address", address_}}, {{"", "Connect", true}}};
    show_page(question_page(question, [this](const auto &given) { begin((*given)["address"]); }));
}

void Picker::begin(const std::string &address) {
    address_ = address;
    try {
        kavro_broker::broker broker;
        broker.set_broker_address(address);
        broker.set_client_info("desktop-picker", "1.0", "Qt");
        broker.enable_oauth(true);
        broker.keep_connection(std::chrono::minutes(1));
        const auto post = [](std::function<void()> function) {
            QMetaObject::invokeMethod(qApp, std::move(function), Qt::QueuedConnection);
        };
        broker_ = std::make_unique<kavro_broker::async_broker>(std::move(broker), post);
        log_in(nullptr);
    } catch (const kavro_broker::error &error) {
        tell(error_text(error));
    }
}

/// Has the broker asked on its own thread, and `done` called with the result on this one. A failure
/// before the end of the log-in ends that.
template <class Request, class Done>
void Picker::ask(const QString &doing, Request request, Done done) {
    set_busy(doing);
    broker_->ask(std::move(request), [this, done = std::move(done)](auto result) {
        set_busy("");
        try {
            done(result.get());
        } catch (const kavro_broker::error &error) {
            if (!logged_in_)
                ask_for_broker();
            tell(error_text(error));
        }
    });
}

void Picker::log_in(const SharedAnswer &answer) {
    const auto request = [this, answer](auto &broker) { return log_in_.go_on(broker, answer); };
    ask("Logging in\u2026", request, [this](const std::optional<Question> &next) {
        if (!next)
            return operate("", list_again);
        show_page(question_page(*next, [this](const auto &given) { log_in(given); }));
    });
}

void Picker::operate(const std::string &id, std::uint32_t command) {
    if (command == connect_desktop)
        return connect_to(id);
    const auto request = [id, command](auto &broker) {
        if (command != list_again)
            broker.perform_desktop_operation(id, command);
        return broker.request_desktop_list();
    };
    ask("Asking for the desktops\u2026", request, [this, id](const auto &desktops) {
        logged_in_ = true;
        const auto pressed = [this](const auto &...what) { operate(what...); };
        show_page(desktops_page(desktops, id, pressed));
    });
}

void Picker::connect_to(const std::string &id) {
    const auto request = [id](auto &broker) { return broker.connect_to_desktop(id); };
    ask("Connecting\u2026", request, [this, id](kavro_broker::desktop_connection made) {
        const auto &target = made.target;
        tell(id + " waits at " + target.address + ", port " + target.port + ", session " +
             made.session_id + ".");
        show_desktop_(made);
        wipe(made.connect_tag);
        if (made.gateway_ticket)
            wipe(made.gateway_ticket->ticket);
    });
}

void Picker::go_back() {
    if (!centralWidget()->isEnabled())
        return broker_->cancel();
    if (!logged_in_)
        return ask_for_broker();
    logged_in_ = false; // whatever the broker says to that
    const auto log_out = [](auto &broker) { return broker.clear_session(), true; };
    ask("Logging out\u2026", log_out, [this](bool) { ask_for_broker(); });
}

void Picker::show_page(QWidget *page) {
    setCentralWidget(page);
    set_busy("");
}

/// Until the end of what goes on, which an empty text tells, nothing but Cancel can be pressed.
void Picker::set_busy(const QString &doing) {
    const bool busy = !doing.isEmpty();
    tell("");
    statusBar()->showMessage(doing);
    centralWidget()->setEnabled(!busy);
    back_->setText(busy ? "Cancel" : logged_in_ ? "Log out" : "Back");
    back_->setShortcut(busy ? QKeySequence(Qt::Key_Escape) : QKeySequence());
    back_->setVisible(broker_ != nullptr);
    if (!busy)
        centralWidget()->setFocus();
}

void Picker::tell(const std::string &text) {
    message_->setText(text.c_str());
    message_->setVisible(!text.empty());
}
