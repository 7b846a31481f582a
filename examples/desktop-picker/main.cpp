// A window to log in at a broker and pick a desktop: desktop-picker [ADDRESS]
#include "picker.h"

#include <QApplication>

int main(int count, char **arguments) {
    QApplication application(count, arguments);
    kavro_broker::set_log_function([](const auto &message) { qDebug("%s", message.text.c_str()); });
    // Here a client shows the desktop. The connect tag and the ticket let anybody in who has them:
    // a viewer that is another program gets them through a pipe, since arguments can be read by
    // all.
    const auto show_desktop = [](const kavro_broker::desktop_connection &) {};
    Picker picker(count > 1 ? arguments[1] : "", show_desktop);
    picker.show();
    return QApplication::exec();
}
