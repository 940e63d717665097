// The common base of the objects, and the objects as the table makes them.

#include "Captured_console.h"
#include "Object_table.h"
#include "Objects.h"
#include "Power_interface.h"
#include "Signal_relay.h"
#include "Test_daemon.h"

#include <QRegularExpression>
#include <QTimer>

namespace {

/// Every path and its class, in the order of creation, written down by hand.
const char* const objects[][2] = {
    {"device/io/input/digital/0", "Digital_input_interface"},
    {"device/io/input/digital/1", "Digital_input_interface"},
    {"device/io/input/digital/2", "Digital_input_interface"},
    {"device/io/input/digital/3", "Digital_input_interface"},
    {"device/io/input/analog/0", "Analog_input_interface"},
    {"device/io/input/frequency/0", "Frequency_input_interface"},
    {"device/io/input/voltage/0", "Voltage_input_interface"},
    {"device/io/input/voltage/1", "Voltage_input_interface"},
    {"device/io/input/voltage/2", "Voltage_input_interface"},
    {"device/io/input/voltage/3", "Voltage_input_interface"},
    {"device/io/input/voltage/4", "Voltage_input_interface"},
    {"device/io/input/voltage/5", "Voltage_input_interface"},
    {"device/io/input/temperature/0", "Temperature_input_interface"},
    {"device/io/input/temperature/1", "Temperature_input_interface"},
    {"device/io/input/temperature/2", "Temperature_input_interface"},
    {"device/io/input/temperature/3", "Temperature_input_interface"},
    {"device/io/input/temperature/4", "Temperature_input_interface"},
    {"device/io/input/temperature/5", "Temperature_input_interface"},
    {"device/io/output/frequency/0", "Radar_output_interface"},
    {"device/io/output/digital/0", "Digital_output_interface"},
    {"device/io/output/digital/1", "Digital_output_interface"},
    {"device/io/output/digital/2", "Digital_output_interface"},
    {"device/io/output/digital/3", "Digital_output_interface"},
    {"device/io/input/ambientlight/0", "Ambientlight_input_interface"},
    {"device/system/power", "Power_interface"},
    {"device/lvds/power", "Power_interface"},
    {"device/display/power", "Power_interface"},
    {"device/display/backlight", "LCD_backlight_interface"},
    {"device/display/backlight/power", "Power_interface"},
    {"device/operating_voltage", "Operating_voltage_interface"},
    {"multi_led/0", "Dimmable_interface"},
    {"multi_led/1", "Dimmable_interface"},
    {"multi_led/2", "Dimmable_interface"},
    {"multi_led/3", "Dimmable_interface"},
    {"multi_led/4", "Dimmable_interface"},
    {"multi_led/5", "Dimmable_interface"},
    {"multi_led/6", "Dimmable_interface"},
    {"multi_led/7", "Dimmable_interface"},
    {"multi_led/8", "Dimmable_interface"},
    {"multi_led/9", "Dimmable_interface"},
    {"multi_led/10", "Dimmable_interface"},
    {"multi_led/11", "Dimmable_interface"},
    {"multi_led/12", "Dimmable_interface"},
    {"multi_led/13", "Dimmable_interface"},
    {"multi_led/14", "Dimmable_interface"},
    {"multi_led/15", "Dimmable_interface"},
    {"multi_led/16", "Dimmable_interface"},
    {"multi_led/17", "Dimmable_interface"},
    {"multi_led/18", "Dimmable_interface"},
    {"multi_led/19", "Dimmable_interface"},
    {"device/buzzer", "Buzzer_interface"},
    {"power/ignition", "Ignition_interface"},
    {"power/lock", "Lock_interface"},
    {"power/button", "Power_button_interface"},
    {"device/can/0/power", "Power_interface"},
    {"device/can/1/power", "Power_interface"},
    {"device/can/2/power", "Power_interface"},
    {"device/can/3/power", "Power_interface"},
    {"device/eth/power", "Power_interface"},
    {"device/video/power", "Power_interface"},
    {"device/camera/power", "Power_interface"},
    {"device/uart/power", "Power_interface"},
    {"device/usb/power", "Power_interface"},
    {"device/camera", "Camera_interface"},
    {"version/bootloader", "PC_version_interface"},
    {"version/kernel", "Cmd_version_interface"},
    {"version/unique_device_id", "UID_version_interface"},
    {"version/serial_number", "Cmd_version_interface"},
    {"version/customer_part_number", "Cmd_version_interface"},
    {"version/hardware", "HW_version_interface"},
    {"media", "Media_interface"},
    {"configuration", "Configuration_interface"},
    {"oem_profile", "OEMprofile_interface"},
    {"atx", "ATX_interface"},
};

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
        QCOMPARE(std::size(objects), std::size_t{74});
        QCOMPARE(device_object_count, std::size_t{74});
        for (std::size_t i = 0; i < std::size(objects); ++i) {
            const Interface_base* object = world_.daemon->devices()[static_cast<Device_object>(i)];
            QVERIFY(object != nullptr);
            Captured_descriptor dump(STDOUT_FILENO);
            object->dump_interface();
            const QByteArray expected = QByteArray("Path: /com/quorin/system/") + objects[i][0] +
                                        "\n  Class:   " + objects[i][1] + "\n";
            QCOMPARE(dump.text().left(expected.size()), expected);
        }
    }

    /// Which object a name reaches is seen by switching it on alone.
    void table_gives_the_channels_their_numbers()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        create_objects(world_.daemon);
        auto& devices = world_.daemon->devices();
        const auto offer_to = [&devices](std::size_t object, const QByteArray& hex) {
            return offer(*devices[static_cast<Device_object>(object)], hex);
        };
        // Each takes the message that is just long enough for its channel, and none shorter.
        const QByteArray message = "00000000000000";
        for (int channel = 0; channel < 6; ++channel) {
            const auto at = static_cast<std::size_t>(channel);
            QVERIFY(offer_to(12 + at, "28" + message.left(2 * channel + 2)));
            QVERIFY(!offer_to(12 + at, "28" + message.left(2 * channel)));
            QVERIFY(offer_to(6 + at, "22" + message.left(4 * (channel % 3) + 4)));
            QVERIFY(!offer_to(6 + at, "22" + message.left(4 * (channel % 3) + 2)));
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
        QVector<std::size_t> created;
        QVector<std::size_t> deleted;
        for (std::size_t i = 0; i < device_object_count; ++i) {
            connect(world_.daemon->devices()[static_cast<Device_object>(i)], &QObject::destroyed,
                    this, [&deleted, i] { deleted.append(i); });
            created.append(i);
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
            QVERIFY(world_.daemon->devices()[static_cast<Device_object>(i)] == nullptr);
        world_.daemon->handle_quit(); // nothing is left
        const uchar late[8] = {0x36};
        world_.daemon->handle_packet(late, sizeof late);
    }

    void signals_without_a_bus_are_dropped()
    {
        const auto* object = new Plain_object(world_.daemon, QStringLiteral("p"), nullptr);
        auto* adaptor = const_cast<Plain_object*>(object);
        Signal_relay relay(adaptor, QStringLiteral("/com/quorin/system/p"));
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
