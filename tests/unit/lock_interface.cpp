// The power lock, which is none.

#include "Lock_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Lock : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void says_that_it_is_none()
    {
        auto* lock = new Lock_interface(world_.daemon, QStringLiteral("l"));
        QSignalSpy changed(lock, &Lock_interface::changed);
        Captured_descriptor output(STDOUT_FILENO);
        lock->set_hold(true);
        lock->set_hold(false);
        lock->hold();
        lock->release();
        const QByteArray setting = "not implemented src/interfaces/Lock_interface:27\n";
        QCOMPARE(output.text(), setting.repeated(4));
        QVERIFY(output_of(*lock, &Lock_interface::is_hold, true)); // not written
        QVERIFY(!output_of(*lock, &Lock_interface::is_hold, false));
        const QByteArray asking = "not implemented src/interfaces/Lock_interface:32\n";
        QCOMPARE(output.text(), setting.repeated(4) + asking.repeated(2));
        QCOMPARE(changed.count(), 0);
    }

    void object_without_a_power_name_logs_no_mask()
    {
        world_.clear();
        new Lock_interface(world_.daemon, QStringLiteral("a"));
        QCOMPARE_EMPTY(world_.lines());
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Lock>(count, arguments, "<power/>");
}
#include "lock_interface.moc"
