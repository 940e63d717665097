// The ignition: its state and its mode.

#include "Ignition_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Ignition : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void is_on_until_told_otherwise()
    {
        auto* ignition = new Ignition_interface(world_.daemon, QStringLiteral("i"));
        QSignalSpy changed(ignition, &Ignition_interface::changed);
        QVERIFY(output_of(*ignition, &Ignition_interface::is_on));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{255});
        QVERIFY(offer(*ignition, "0601000001000000")); // on, as it was
        QVERIFY(offer(*ignition, "06010000ff000000"));
        QCOMPARE(changed.count(), 0);
        QVERIFY(offer(*ignition, "06030000000000ff"));
        QVERIFY(!output_of(*ignition, &Ignition_interface::is_on, true));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{3});
        QVERIFY(offer(*ignition, "0604ffff00ffffff"));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{4}); // changed or not
        QVERIFY(offer(*ignition, "0604000080"));
        QCOMPARE(seen(changed), (QList<QVariantList>{{false}, {true}}));
        QCOMPARE_EMPTY(world_.lines()); // nothing reaches the power states
    }

    void has_its_state_before_it_signals()
    {
        auto* ignition = new Ignition_interface(world_.daemon, QStringLiteral("i"));
        QSignalSpy changed(ignition, &Ignition_interface::changed);
        connect(ignition, &Ignition_interface::changed, this, [ignition](bool on) {
            QCOMPARE(output_of(*ignition, &Ignition_interface::is_on, !on), on);
            QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{3});
        });
        QVERIFY(offer(*ignition, "0603000000"));
        QCOMPARE(changed.count(), 1);
    }

    void refuses_other_messages()
    {
        auto* ignition = new Ignition_interface(world_.daemon, QStringLiteral("i"));
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(*ignition, "1001000000000000"));
        QVERIFY(!offer(*ignition, "06010000"));
        QCOMPARE(output_of(*ignition, &Ignition_interface::get_mode), uchar{255});
        QCOMPARE(errors.text(), QByteArray("Unhandled id=16 len=8\nUnhandled id=6 len=4\n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Ignition>(count, arguments, "<power/>");
}
#include "ignition_interface.moc"
