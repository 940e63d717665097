// The version of the controller's hardware.

#include "HW_version_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"
#include "Version_text.h"

class HW_version : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void hardware_versions_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QString>("version");
        QTest::newRow("0") << QByteArray("1200") << QStringLiteral("v1.0");
        QTest::newRow("10") << QByteArray("120a") << QStringLiteral("v1.0");
        QTest::newRow("11") << QByteArray("120b") << QStringLiteral("v1.1");
        QTest::newRow("19") << QByteArray("1213") << QStringLiteral("v1.1");
        QTest::newRow("20") << QByteArray("1214") << QStringLiteral("v2.0");
        QTest::newRow("255") << QByteArray("12ff") << QStringLiteral("v2.0");
        QTest::newRow("other bytes") << QByteArray("120bffffffffffff") << QStringLiteral("v1.1");
    }
    void hardware_versions()
    {
        QFETCH(QByteArray, message);
        auto& version = make<HW_version_interface>();
        QCOMPARE(text_of(version), QStringLiteral("No PC Comms"));
        QVERIFY(offer(version, message));
        QTEST(text_of(version), "version");
    }

    void reports_what_it_refuses()
    {
        auto& version = make<HW_version_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(version, "1100000000000000"));
        QVERIFY(!offer(version, "12"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=17 len=8\nUnhandled id=18 len=1\n"));
        QCOMPARE(text_of(version), QStringLiteral("No PC Comms"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<HW_version>(count, arguments, "<power/>");
}
#include "hw_version_interface.moc"
