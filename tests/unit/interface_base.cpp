// The common base of the objects.

#include "Interface_base.h"

#include "Captured_console.h"
#include "Lock_interface.h"
#include "Objects.h"
#include "Test_daemon.h"

namespace {

/// Overrides nothing of the base.
class Plain_object : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.plain")
    Q_CLASSINFO("Second", "of two")
public:
    using Interface_base::Interface_base;

    Q_INVOKABLE void invoked(int /*value*/) {}

public Q_SLOTS:
    void slot(double& /*val*/) {}

Q_SIGNALS:
    void happened(bool yes, const QString& text);
};

} // namespace

class Interface_base_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void cleanup()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->handle_quit();
        world_.clear();
    }

    void base_uses_no_message()
    {
        world_.clear();
        auto* object = new Plain_object(world_.daemon, QStringLiteral("p"), nullptr);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(*object, "3600000000000000"));
        QVERIFY(!offer(*object, "ff"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=54 len=8\nUnhandled id=255 len=1\n"));
        object->power_state_changed(2); // does nothing
        QCOMPARE_EMPTY(world_.lines());
    }

    void dump_lists_everything()
    {
        const auto* object = new Plain_object(world_.daemon, QStringLiteral("p/0"), nullptr);
        Captured_descriptor output(STDOUT_FILENO);
        object->dump_interface();
        QCOMPARE(output.text(), QByteArray("Path: /com/quorin/system/p/0\n"
                                           "  Class:   Plain_object\n"
                                           "  D-Bus Interface: com.quorin.system.plain\n"
                                           "  Second: of two\n"
                                           "  Signal: destroyed(QObject*)\n"
                                           "  Signal: destroyed()\n"
                                           "  Signal: objectNameChanged(QString)\n"
                                           "  Slot:   deleteLater()\n"
                                           "  Slot:   _q_reregisterTimers(void*)\n"
                                           "  Signal: happened(bool,QString)\n"
                                           "  Slot:   slot(double&)\n"
                                           "  Method: invoked(int)\n"));
    }

    void path_is_joined_as_it_is()
    {
        Captured_descriptor output(STDOUT_FILENO);
        const auto* object = new Lock_interface(world_.daemon, QStringLiteral("/power/lock"));
        object->dump_interface();
        QCOMPARE_STARTS(output.text(), "Path: /com/quorin/system//power/lock\n"
                                       "  Class:   Lock_interface\n"
                                       "  D-Bus Interface: com.quorin.system.power.lock\n");
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Interface_base_test>(count, arguments, "<power/>");
}
#include "interface_base.moc"
