// The power button.

#include "Power_button_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Power_button : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void reports_a_press_as_1()
    {
        auto* button = new Power_button_interface(world_.daemon, QStringLiteral("b"));
        QSignalSpy pressed(button, &Power_button_interface::short_press);
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(*button, "1c00ffffffffffff"));
        QCOMPARE(pressed.count(), 0);
        QVERIFY(offer(*button, "1c01"));
        QVERIFY(offer(*button, "1cff000000000000"));
        QCOMPARE(seen(pressed), (QList<QVariantList>{{1}, {1}}));
        QVERIFY(!offer(*button, "1c"));
        QVERIFY(!offer(*button, "1b01"));
        QCOMPARE(pressed.count(), 2);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Power_button>(count, arguments, "<power/>");
}
#include "power_button_interface.moc"
