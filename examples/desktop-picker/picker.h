// The window: what is asked of the broker, and which page shows what came of it.
#pragma once

#include "kavro_broker_async.hpp"
#include "log_in.h"

#include <QMainWindow>

class QLabel;
class QPushButton;

class Picker : public QMainWindow {
public:
    using ShowDesktop = std::function<void(const kavro_broker::desktop_connection &)>;

    /// @param address the broker's; empty: the user types it.
    Picker(const std::string &address, ShowDesktop show_desktop);

private:
    void ask_for_broker();
    void begin(const std::string &address);
    void log_in(const SharedAnswer &answer);
    void operate(const std::string &id, std::uint32_t command);
    void connect_to(const std::string &id);
    void go_back();

    template <class Request, class Done>
    void ask(const QString &doing, Request request, Done done);
    void show_page(QWidget *page);
    void set_busy(const QString &doing);
    void tell(const std::string &text);

    QLabel *message_;
    QPushButton *back_;
    std::string address_;
    const ShowDesktop show_desktop_;
    bool logged_in_ = false;
    LogIn log_in_; // the broker's thread's
    std::unique_ptr<kavro_broker::async_broker> broker_;
};
