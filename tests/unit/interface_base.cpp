// The common base of the objects, and the objects as the table makes them.

#include "Captured_console.h"
#include "Expected_objects.h"
#include "Object_table.h"
#include "Objects.h"
#include "Power_interface.h"
#include "Signal_relay.h"
#include "Test_daemon.h"

#include <QRegularExpression>
#include <QTimer>

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

class Interface_base_test : public QObject {
    Q_OBJECT
public:
    explicit Interface_base_test(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

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
        QVERIFY(world_.lines().isEmpty());
    }

    void holder_belongs_to_the_daemon()
    {
        const auto* object = new Plain_object(world_.daemon, QStringLiteral("p"), nullptr);
        QVERIFY(object->parent() != world_.daemon);
        QCOMPARE(object->parent()->parent(), world_.daemon);
    }

    void power_name_without_a_configuration_logs_nothing()
    {
        QVERIFY(world_.daemon->power_config() == nullptr);
        auto* power = new Power_interface(world_.daemon, QStringLiteral("p"), 5, "video");
        QVERIFY(world_.lines().isEmpty());
        for (int state = 0; state < 3; ++state) {
            power->resume();
            power->power_state_changed(state);
            QVERIFY(output_of(*power, &Power_interface::is_suspended));
        }
    }

    void states_without_a_configuration_last_as_long_as_they_do_by_default()
    {
        world_.daemon->make_power_timer();
        const QList<QTimer*> timers = world_.daemon->findChildren<QTimer*>();
        QCOMPARE(timers.size(), 1);
        world_.daemon->set_power_state(state_on);
        QVERIFY(!timers[0]->isActive());
        for (const int state : {int{state_low_power}, int{state_sleep}}) {
            timers[0]->setInterval(0);
            world_.daemon->set_power_state(state);
            QVERIFY(timers[0]->isActive());
            QCOMPARE(timers[0]->interval(), 100000);
        }
        world_.daemon->set_power_state(state_none);
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

    void table_makes_every_object_in_order()
    {
        Captured_descriptor output(STDOUT_FILENO);
        create_objects(world_.daemon);
        QCOMPARE(std::size(expected_objects), std::size_t{74});
        QCOMPARE(device_object_count, std::size_t{74});
        QList<QByteArray> made;
        QList<QByteArray> expected;
        for (std::size_t i = 0; i < device_object_count; ++i) {
            const Interface_base* object = world_.daemon->devices()[static_cast<Device_object>(i)];
            QVERIFY2(object != nullptr, expected_objects[i].path);
            Captured_descriptor dump(STDOUT_FILENO);
            object->dump_interface();
            const QList<QByteArray> lines = dump.text().split('\n');
            made.append(lines.value(0) + lines.value(1));
            expected.append(QByteArray("Path: /com/quorin/system/") + expected_objects[i].path +
                            "  Class:   " + expected_objects[i].class_name);
        }
        QCOMPARE(made, expected);
    }

    /// Which object a name reaches is seen by switching it on alone.
    void table_gives_the_channels_their_numbers()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        create_objects(world_.daemon);
        auto& devices = world_.daemon->devices();
        const auto offer_to = [&devices](const QByteArray& kind, int channel,
                                         const QByteArray& hex) {
            const QByteArray path = "device/io/input/" + kind + '/' + QByteArray::number(channel);
            return offer(*devices[static_cast<Device_object>(number_of(path.constData()))], hex);
        };
        // Each takes the message that is just long enough for its channel, and none shorter.
        const QByteArray message = "00000000000000";
        for (int channel = 0; channel < 6; ++channel) {
            const QByteArray name = "channel " + QByteArray::number(channel);
            const int temperature = 2 * channel + 2;
            const int voltage = 4 * (channel % 3) + 4;
            const auto takes = [&](const char* kind, const char* id, int digits) {
                return offer_to(kind, channel, id + message.left(digits));
            };
            QVERIFY2(takes("temperature", "28", temperature), name);
            QVERIFY2(!takes("temperature", "28", temperature - 2), name);
            QVERIFY2(takes("voltage", "22", voltage), name);
            QVERIFY2(!takes("voltage", "22", voltage - 2), name);
        }
        for (std::size_t channel = 0; channel < 4; ++channel) {
            auto* input = devices[static_cast<Device_object>(channel)];
            const QByteArray bit = QByteArray::number(1 << channel, 16).rightJustified(2, '0');
            QSignalSpy changed(input, SIGNAL(changed(bool)));
            QVERIFY(offer(*input, "36" + bit));
            QCOMPARE(seen(changed), QList<QVariantList>{{true}});
        }
    }

    void objects_are_deleted_in_the_order_of_their_creation()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        create_objects(world_.daemon);
        QStringList created;
        QStringList deleted;
        for (std::size_t i = 0; i < device_object_count; ++i) {
            const QString path = QString::fromLatin1(expected_objects[i].path);
            connect(world_.daemon->devices()[static_cast<Device_object>(i)], &QObject::destroyed,
                    this, [&deleted, path] { deleted.append(path); });
            created.append(path);
        }
        world_.daemon->handle_quit();
        QCOMPARE(deleted, created);
    }

    void objects_are_forgotten_when_they_are_deleted()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        create_objects(world_.daemon);
        world_.daemon->handle_quit();
        for (std::size_t i = 0; i < device_object_count; ++i)
            QVERIFY2(world_.daemon->devices()[static_cast<Device_object>(i)] == nullptr,
                     expected_objects[i].path);
        world_.daemon->handle_quit(); // nothing is left
        const uchar late[8] = {0x36};
        world_.daemon->handle_packet(late, sizeof late);
    }

    void signals_without_a_bus_are_dropped()
    {
        const auto* object = new Plain_object(world_.daemon, QStringLiteral("p"), nullptr);
        auto* adaptor = const_cast<Plain_object*>(object);
        Signal_relay relay(adaptor, QStringLiteral("/com/quorin/system/p"), world_.daemon->bus());
        for (int i = 0; i < 3000; ++i)
            Q_EMIT adaptor->happened(true, QStringLiteral("text"));
    }

    void zz_daemon_without_a_link_exits_all_the_same()
    {
        world_.daemon->set_link(nullptr);
        world_.daemon->exit_daemon();
        QVERIFY(world_.daemon->is_exiting());
        QCOMPARE(world_.lines(),
                 QStringList{QStringLiteral("=============== Exiting =================")});
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Interface_base_test>(count, arguments, "no configuration");
}
#include "interface_base.moc"
