#include "picker.h"

#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <QTreeWidget>

// What is typed and pressed in the window, and what it shows then.

#define SCENARIOS FOLDER "/tools/broker-sim/scenarios/"
#define STALLING FOLDER "/tests/picker/stalling.json"

namespace {

/// Steps: "Field=text" types, "[Button]" presses, "<" is Escape, "*Desktop" selects, "?text" waits
/// until that is shown, "!text" is not shown, "@tag" has come for the viewer, "#file" takes a
/// picture.
struct Conversation {
    const char *name, *scenario, *steps;
};

const Conversation conversations[] = {
    {"password, power, connect", SCENARIOS "demo.json",
     "?127.0.0.1|?Issued by|?sha256//|[Trust this time]|?staff of Example|[Decline]|"
     "?504 KAVRO_BROKER_ERR_AUTH_DISCLAIMER_REJECTED|[Accept]|?Demo Connection Broker|"
     "User name=alice|Password=wrong|[Log in to EXAMPLE]|?The user name or the password|"
     "?Unknown user name or password|?501|Password=wonderland\r|*Build machine|?POWERED_OFF|"
     "[Switch on]|*Build machine|![Switch on]|[Connect]|?703|*Office|[Connect]|"
     "?desktop-office waits at 127.0.0.1, port 4172|@SCS1demoConnectTag|!SCS1demoConnectTag|"
     "#desktop-picker.png|[Log out]|?Which broker?"},
    {"dialog", SCENARIOS "dialog.json",
     "[Trust this time]|User name=alice|Password=wonderland|[Log in to EXAMPLE]|?ending in 42|"
     "Passcode=1|[Continue]|?513|?ending in 42|Passcode=123456|[Continue]|?Office"},
    {"expired password", SCENARIOS "expired_password.json",
     "[Trust this time]|User name=alice|Password=old-secret|[Log in to EXAMPLE]|"
     "New password=a<b&c-secret|Once more=another|[Change it]|?not the same|New password=short|"
     "Once more=short|[Change it]|?505|New password=a<b&c-secret|Once more=a<b&c-secret|"
     "[Change it]|?Office"},
    {"OAuth", SCENARIOS "oauth.json",
     "[Trust this time]|Code=0|[Log in]|?509|Code=4711-0815|[Log in]|?Office"},
    {"cancel", STALLING,
     "[Trust this time]|[Connect]|?Connecting|<|?5 KAVRO_BROKER_ERR_CANCELLED|[Refresh]|"
     "!CANCELLED|?[Connect]"},
    {"close", STALLING, "[Trust this time]|[Connect]|?Connecting"},
};

QString name_of(const QPushButton *button) {
    return '[' + button->text() + ']';
}

QString name_of(const QLineEdit *edit) {
    return edit->accessibleName();
}

} // namespace

class PickerTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Picker> picker_;
    std::string connect_tag_;

    /// Those of a kind that can be seen and used.
    template <class Widget>
    auto usable() {
        auto all = picker_->findChildren<Widget *>();
        all.removeIf([](auto *widget) { return !widget->isVisible() || !widget->isEnabled(); });
        return all;
    }
    QString shown() {
        QStringList texts{picker_->statusBar()->currentMessage()};
        for (const auto *label : usable<QLabel>())
            texts += label->text();
        for (const auto *button : usable<QPushButton>())
            texts += name_of(button);
        for (const auto *list : usable<QTreeWidget>())
            for (const auto *row : list->findItems("", Qt::MatchContains))
                texts += row->text(0) + ' ' + row->text(1);
        return texts.join('\n');
    }
    template <class Widget>
    Widget *named(const QString &name) {
        for (auto *widget : usable<Widget>())
            if (name_of(widget) == name)
                return widget;
        return nullptr;
    }
    bool follow(const QString &step);

private slots:
    void initTestCase() {
        kavro_broker::set_log_function([](const auto &) {});
    }
    void converses_data() {
        QTest::addColumn<int>("row");
        for (int row = 0; row < int(std::size(conversations)); ++row)
            QTest::newRow(conversations[row].name) << row;
    }
    void converses() {
        QFETCH(int, row);
        const auto &[name, scenario, steps] = conversations[row];
        QProcess simulator;
        simulator.start(SIMULATOR, {"--scenario", scenario, "--port", "0"});
        QVERIFY(simulator.waitForReadyRead());
        const auto port = QJsonDocument::fromJson(simulator.readLine())["port"].toInt();
        picker_ = std::make_unique<Picker>("127.0.0.1:" + std::to_string(port),
                                           [this](auto &to) { connect_tag_ = to.connect_tag; });
        picker_->show();
        QVERIFY(QTest::qWaitForWindowActive(picker_.get()));
        for (const auto &step : QString(steps).split('|'))
            if (!QTest::qWaitFor([&] { return follow(step); }, 20000))
                QFAIL(qPrintable(step + " in: " + shown()));

        const QDeadlineTimer limit(2000);
        picker_.reset(); // even while it waits; nothing comes back to it
        QCoreApplication::processEvents();
        QVERIFY(!limit.hasExpired());
        simulator.kill();
        simulator.waitForFinished();
    }
};

/// Whether that could be done; if not, it is tried again.
bool PickerTest::follow(const QString &step) {
    if (step.startsWith('#'))
        return picker_->grab().save(step.mid(1));
    if (step.startsWith('@'))
        return connect_tag_.c_str() == step.mid(1);
    if (step.startsWith('?') || step.startsWith('!'))
        return shown().contains(step.mid(1)) == step.startsWith('?');
    if (step == "<")
        return QTest::keyClick(picker_.get(), Qt::Key_Escape), true;
    if (step.startsWith('*')) {
        const auto lists = usable<QTreeWidget>();
        if (!lists.empty())
            lists[0]->setCurrentItem(lists[0]->findItems(step.mid(1), Qt::MatchExactly).value(0));
        return !lists.empty();
    }
    if (step.startsWith('[')) {
        auto *pressed = named<QPushButton>(step);
        return pressed != nullptr && (QTest::keyClick(pressed, Qt::Key_Space), true);
    }
    auto *typed = named<QLineEdit>(step.section('=', 0, 0));
    if (typed != nullptr)
        typed->clear(), QTest::keyClicks(typed, step.section('=', 1));
    return typed != nullptr;
}

QTEST_MAIN(PickerTest)
#include "test_picker.moc"
