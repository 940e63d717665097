// The configuration bytes of the controller.

#include "Configuration_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

class Configuration : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void adds_1_to_the_code_on_the_line()
    {
        auto& configuration = make<Configuration_interface>();
        configuration.set(2, 4, 20);
        configuration.query(2, 4);
        configuration.set(255, 255, 255);
        QCOMPARE(world_.link->sent,
                 (Payloads{"2d030414aa010000", "2d03040055010000", "2d00ffffaa010000"}));
        QCOMPARE(world_.lines(),
                 (QStringList{QStringLiteral("Set Configuration for OEM code 3"),
                              QStringLiteral("Set Configuration for OEM code 3"),
                              QStringLiteral("Set Configuration for OEM code 256")}));
    }

    void keeps_the_last_report()
    {
        auto& configuration = make<Configuration_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        const auto last = [&configuration] {
            uchar code = 0;
            uchar offset = 0;
            uchar value = 0;
            configuration.get(code, offset, value);
            return QList<int>{code, offset, value};
        };
        QCOMPARE(last(), (QList<int>{255, 255, 255}));
        QVERIFY(offer(configuration, "2e04040f00000000"));
        QCOMPARE(last(), (QList<int>{3, 4, 15}));
        QVERIFY(offer(configuration, "2e00040f"));
        QCOMPARE(last(), (QList<int>{255, 4, 15}));
        QVERIFY(!offer(configuration, "2e0102"));
        QVERIFY(!offer(configuration, "2d01020300000000"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=46 len=3\nUnhandled id=45 len=8\n"));
        QCOMPARE(last(), (QList<int>{255, 4, 15}));
        QCOMPARE(world_.lines(), (QStringList{QStringLiteral("Configuration was set"),
                                              QStringLiteral("Configuration was set")}));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Configuration>(count, arguments, "<power/>");
}
#include "configuration_interface.moc"
