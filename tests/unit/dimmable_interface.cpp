// What has a brightness that nothing sets: the LEDs.

#include "Dimmable_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Dimmable : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void cannot_be_set()
    {
        auto& made = make<Dimmable_interface>();
        QSignalSpy changed(&made, &Dimmable_interface::brightness_changed);
        Captured_descriptor output(STDOUT_FILENO);
        for (const double value : {50.0, not_a_number, -infinite})
            made.set_brightness(value);
        const QByteArray line = "LCD not implemented src/interfaces/Dimmable_interface:25\n";
        QCOMPARE(output.text(), line.repeated(3));
        QCOMPARE(output_of(made, &Dimmable_interface::get_brightness, 1.0), 0.0);
        QCOMPARE_EMPTY(world_.link->sent);
        QCOMPARE(changed.count(), 0);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Dimmable>(count, arguments, "<power/>");
}
#include "dimmable_interface.moc"
