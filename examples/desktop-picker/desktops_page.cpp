#include "pages.h"

#include <QGridLayout>
#include <QPushButton>
#include <QTreeWidget>

namespace {

const std::pair<std::uint32_t, const char *> commands[] = {
    {connect_desktop, "Connect"},
    {KAVRO_BROKER_OPERATION_POWER_UP, "Switch on"},
    {KAVRO_BROKER_OPERATION_RESUME, "Resume"},
    {KAVRO_BROKER_OPERATION_SLEEP, "Suspend"},
    {KAVRO_BROKER_OPERATION_OS_RESTART, "Restart"},
    {KAVRO_BROKER_OPERATION_POWER_DOWN, "Switch off"},
    {list_again, "Refresh"},
};

// Of each row: the desktop's id, and a bit for each command that it offers.
constexpr int id = Qt::UserRole, offers = Qt::UserRole + 1;

QTreeWidgetItem *add_row(QTreeWidget *list, const kavro_broker::desktop &desktop) {
    auto *row = new QTreeWidgetItem(list, {desktop.name.c_str(), desktop.state.c_str(),
                                           desktop.health.c_str(), desktop.type.c_str()});
    quint32 offered = 1U << connect_desktop | 1U << list_again;
    for (const auto operation : desktop.operations)
        offered |= 1U << operation;
    row->setData(0, id, desktop.id.c_str());
    row->setData(0, offers, offered);
    return row;
}

} // namespace

QWidget *desktops_page(const std::vector<kavro_broker::desktop> &desktops,
                       const std::string &chosen,
                       std::function<void(std::string, std::uint32_t)> pressed) {
    auto *page = new QWidget;
    auto *layout = new QGridLayout(page);
    auto *list = new QTreeWidget;
    layout->addWidget(list, 0, 0, 1, static_cast<int>(std::size(commands)));
    list->setHeaderLabels({"Desktop", "State", "Health", "Kind"});
    list->setRootIsDecorated(false);
    const auto selected = [list](int role) {
        return list->currentItem() == nullptr ? QVariant() : list->currentItem()->data(0, role);
    };
    for (const auto &[command, label] : commands) {
        auto *button = new QPushButton(label);
        layout->addWidget(button);
        button->setEnabled(command == list_again);
        const auto allow = [=, bit = 1U << command] {
            button->setEnabled((selected(offers).toUInt() & bit) != 0);
        };
        const auto press = [=, command = command] {
            pressed(selected(id).toString().toStdString(), command);
        };
        QObject::connect(list, &QTreeWidget::currentItemChanged, button, allow);
        QObject::connect(button, &QPushButton::clicked, list, press);
        if (command == connect_desktop)
            QObject::connect(list, &QTreeWidget::itemActivated, button, &QPushButton::click);
    }
    for (const auto &desktop : desktops) {
        auto *row = add_row(list, desktop);
        if (desktop.id == chosen || list->currentItem() == nullptr)
            list->setCurrentItem(row);
    }
    list->resizeColumnToContents(0);
    page->setFocusProxy(list);
    return page;
}
