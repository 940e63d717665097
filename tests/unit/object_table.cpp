// The expansion of the object table.

#include "Object_table.h"

#include "Captured_console.h"
#include "Expected_objects.h"
#include "Object_catalogue.h"
#include "Objects.h"
#include "Power_interface.h"
#include "Test_daemon.h"

#include <QFile>
#include <QHash>
#include <QMetaClassInfo>
#include <QMetaMethod>

static_assert(std::size(expected_objects) == device_object_count,
              "tests/fixtures/Expected_objects.h has to list every object");

class Object_table_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    /// By object and identifier, for the messages that the object uses.
    static QHash<QPair<std::size_t, uint>, uint> least_lengths()
    {
        QHash<QPair<std::size_t, uint>, uint> least;
        const auto add = [&least](Device_object first, uint number, uint id, uint length) {
            least.insert({static_cast<std::size_t>(first) + number, id}, length);
        };
        using D = Device_object;
        for (uint channel = 0; channel < 4; ++channel) {
            add(D::digital_input_0, channel, 0x10, 2);
            add(D::digital_input_0, channel, 0x36, 2);
            add(D::digital_output_0, channel, 0x34, 3);
        }
        for (uint channel = 0; channel < 6; ++channel) {
            add(D::voltage_input_0, channel, 0x22, 3 + channel % 3 * 2);
            add(D::voltage_input_0, channel, 0x24, 3 + channel % 3 * 2);
            add(D::temperature_input_0, channel, 0x28, 2 + channel);
        }
        add(D::analog_input_0, 0, 0x1e, 3);
        add(D::analog_input_0, 0, 0x36, 4);
        add(D::ambient_light_input_0, 0, 0x20, 3);
        add(D::ambient_light_input_0, 0, 0x36, 6);
        add(D::frequency_input_0, 0, 0x36, 8);
        add(D::frequency_output_0, 0, 0x2a, 1);
        add(D::display_backlight, 0, 0x32, 8);
        add(D::operating_voltage, 0, 0x0e, 8);
        add(D::ignition, 0, 0x06, 5);
        add(D::power_button, 0, 0x1c, 2);
        add(D::firmware_version, 0, 0x16, 5);
        add(D::unique_device_id, 0, 0x1a, 8);
        add(D::hardware_version, 0, 0x12, 2);
        add(D::configuration, 0, 0x2e, 4);
        add(D::oem_profile, 0, 0x3e, 2);
        add(D::atx, 0, 0x40, 1);
        return least;
    }

    static QString dumped_path(const Interface_base& object)
    {
        Captured_descriptor output(STDOUT_FILENO);
        object.dump_interface();
        return QString::fromUtf8(output.text()).section(QLatin1Char('\n'), 0, 0);
    }

    static QString class_info(const QMetaObject& meta)
    {
        const int index = meta.indexOfClassInfo("D-Bus Interface");
        return index < 0 ? QString() : QString::fromUtf8(meta.classInfo(index).value());
    }

    /// What a class has on the bus, and what the catalogue says of objects of the kind.
    struct Members {
        QStringList signals_;
        QStringList readers;
    };

    static Members members_of(const QMetaObject& meta)
    {
        Members members;
        for (int i = QDBusAbstractAdaptor::staticMetaObject.methodCount(); i < meta.methodCount();
             ++i) {
            const QMetaMethod method = meta.method(i);
            const QString name = QString::fromUtf8(method.name());
            if (method.methodType() == QMetaMethod::Signal)
                members.signals_.append(name);
            else if (name.startsWith(QLatin1String("get")) || name.startsWith(QLatin1String("is_")))
                members.readers.append(name);
        }
        return sorted(members);
    }

    static Members members_of(const Object_kind& kind)
    {
        Members members;
        for (const Signal_row& signal : kind.signals)
            members.signals_.append(QString::fromUtf8(signal.name));
        for (const Value_row& value : kind.values)
            if (value.getter != nullptr)
                members.readers.append(QString::fromUtf8(value.getter));
        for (const Setting_row& setting : kind.settings)
            members.readers.append(QStringLiteral("get_") + QString::fromUtf8(setting.name));
        return sorted(members);
    }

    static Members sorted(Members members)
    {
        members.signals_.sort();
        members.readers.sort();
        return members;
    }

    /// Has the commands find a `cat` that notes what it reads, and for the serial number waits
    /// until the part number is read as well.
    void note_what_commands_read()
    {
        world_.root.write(QStringLiteral("bin/cat"),
                          "#!/bin/sh\n"
                          "cd \"$DOV_TEST_ROOT\"\n"
                          "echo \"${1##*/}\" >> read\n"
                          "tries=2500\n"
                          "if [ \"${1##*/}\" = SERIAL_NUMBER ]; then\n"
                          "    while [ $tries -gt 0 ] && ! grep -q PART_NUMBER read; do\n"
                          "        sleep 0.01\n"
                          "        tries=$((tries - 1))\n"
                          "    done\n"
                          "    [ $tries -gt 0 ] || echo alone >> read\n"
                          "fi\n"
                          "exec /bin/cat \"$@\"\n");
        QFile stub(world_.root.path(QStringLiteral("bin/cat")));
        QVERIFY(stub.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        qputenv("PATH", world_.root.path(QStringLiteral("bin")).toUtf8() + ":" + qgetenv("PATH"));
    }

private Q_SLOTS:
    void initTestCase() { note_what_commands_read(); }

    void switches_have_their_power_names_and_channels_their_numbers()
    {
        {
            const Captured_descriptor output(STDOUT_FILENO);
            create_objects(world_.daemon);
        }
        QStringList named;
        for (const QString& line : world_.lines().filter(QStringLiteral("PWR:")))
            named.append(line.section(QStringLiteral("/com/quorin/system/"), 1));
        QCOMPARE(named, (QStringList{QStringLiteral("device/system/power:system"),
                                     QStringLiteral("device/lvds/power:display"),
                                     QStringLiteral("device/display/power:display"),
                                     QStringLiteral("device/display/backlight/power:display"),
                                     QStringLiteral("device/can/0/power:can_1"),
                                     QStringLiteral("device/can/1/power:can_2"),
                                     QStringLiteral("device/can/2/power:can_3"),
                                     QStringLiteral("device/can/3/power:can_4"),
                                     QStringLiteral("device/eth/power:eth"),
                                     QStringLiteral("device/video/power:video"),
                                     QStringLiteral("device/camera/power:camera"),
                                     QStringLiteral("device/uart/power:uart_1"),
                                     QStringLiteral("device/usb/power:usb_1")}));
        // What is sent while they are created, in order.
        QCOMPARE(world_.link->sent,
                 (QVector<QByteArray>{"2901000000000000", "3301010000000000", "3304040000000000",
                                      "3310100000000000", "3340400000000000", "31ffff0000000000"}));
    }

    void every_object_is_what_the_catalogue_says()
    {
        for (const Catalogue_object& entry : catalogue()) {
            const Interface_base* object = world_.daemon->devices()[entry.object];
            const QString path = dumped_path(*object);
            const Members is = members_of(*object->metaObject());
            const Members should_be = members_of(*entry.kind);
            QCOMPARE(path, QStringLiteral("Path: ") + entry.path);
            QCOMPARE(entry.path + QLatin1Char(' ') + class_info(*object->metaObject()),
                     entry.path + QLatin1Char(' ') + entry.interface);
            QCOMPARE(entry.path + QLatin1Char(' ') + is.signals_.join(QLatin1Char(' ')),
                     entry.path + QLatin1Char(' ') + should_be.signals_.join(QLatin1Char(' ')));
            QCOMPARE(entry.path + QLatin1Char(' ') + is.readers.join(QLatin1Char(' ')),
                     entry.path + QLatin1Char(' ') + should_be.readers.join(QLatin1Char(' ')));
        }
    }

    void switches_have_the_controllers_numbers()
    {
        QList<int> kinds;
        for (std::size_t i = 0; i < device_object_count; ++i) {
            auto* object = world_.daemon->devices()[static_cast<Device_object>(i)];
            if (const auto* power = qobject_cast<Power_interface*>(object))
                kinds.append(power->kind());
        }
        QCOMPARE(kinds, (QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    }

    void commands_run_once_and_side_by_side()
    {
        QFile notes(world_.root.path(QStringLiteral("read")));
        QVERIFY(notes.open(QIODevice::ReadOnly));
        QList<QByteArray> read = notes.readAll().trimmed().split('\n');
        std::sort(read.begin(), read.end());
        QCOMPARE(read, (QList<QByteArray>{"BRAND_CODE", "PART_NUMBER", "SERIAL_NUMBER",
                                          "VEHICLE_PLATFORM_CODE", "bsp_version_short"}));
    }

    void every_power_name_is_listed_once()
    {
        QCOMPARE(power_names(),
                 (QVector<QByteArray>{"system", "display", "can_1", "can_2", "can_3", "can_4",
                                      "eth", "video", "camera", "uart_1", "usb_1"}));
    }

    void every_object_is_where_the_dispatch_looks_for_it()
    {
        const auto class_of = [this](Device_object object) {
            return QByteArray(world_.daemon->devices()[object]->metaObject()->className());
        };
        using D = Device_object;
        QCOMPARE(class_of(D::digital_input_3), QByteArray("Digital_input_interface"));
        QCOMPARE(class_of(D::analog_input_0), QByteArray("Analog_input_interface"));
        QCOMPARE(class_of(D::frequency_input_0), QByteArray("Frequency_input_interface"));
        QCOMPARE(class_of(D::voltage_input_5), QByteArray("Voltage_input_interface"));
        QCOMPARE(class_of(D::temperature_input_0), QByteArray("Temperature_input_interface"));
        QCOMPARE(class_of(D::frequency_output_0), QByteArray("Radar_output_interface"));
        QCOMPARE(class_of(D::digital_output_0), QByteArray("Digital_output_interface"));
        QCOMPARE(class_of(D::ambient_light_input_0), QByteArray("Ambientlight_input_interface"));
        QCOMPARE(class_of(D::display_backlight), QByteArray("LCD_backlight_interface"));
        QCOMPARE(class_of(D::display_backlight_power), QByteArray("Power_interface"));
        QCOMPARE(class_of(D::operating_voltage), QByteArray("Operating_voltage_interface"));
        QCOMPARE(class_of(D::multi_led_0), QByteArray("Dimmable_interface"));
        QCOMPARE(class_of(D::buzzer), QByteArray("Buzzer_interface"));
        QCOMPARE(class_of(D::ignition), QByteArray("Ignition_interface"));
        QCOMPARE(class_of(D::power_button), QByteArray("Power_button_interface"));
        QCOMPARE(class_of(D::firmware_version), QByteArray("PC_version_interface"));
        QCOMPARE(class_of(D::kernel_version), QByteArray("Cmd_version_interface"));
        QCOMPARE(class_of(D::unique_device_id), QByteArray("UID_version_interface"));
        QCOMPARE(class_of(D::hardware_version), QByteArray("HW_version_interface"));
        QCOMPARE(class_of(D::configuration), QByteArray("Configuration_interface"));
        QCOMPARE(class_of(D::oem_profile), QByteArray("OEMprofile_interface"));
        QCOMPARE(class_of(D::atx), QByteArray("ATX_interface"));
    }

    /// Each object takes its own messages alone, from the length on that holds what it reads; and
    /// none reads beyond a message: the sanitizers watch.
    void messages_of_every_length_and_identifier()
    {
        const auto least = least_lengths();
        QStringList wrong;
        auto output = std::make_unique<Captured_descriptor>(STDOUT_FILENO);
        auto errors = std::make_unique<Captured_descriptor>(STDERR_FILENO);
        for (std::size_t i = 0; i < device_object_count; ++i) {
            Interface_base* object = world_.daemon->devices()[static_cast<Device_object>(i)];
            for (uint id = 0; id < 256; ++id) {
                for (uint len = 0; len <= 8; ++len) {
                    const std::unique_ptr<uchar[]> message(new uchar[len]);
                    std::fill_n(message.get(), len, uchar{0xA5});
                    if (len > 0)
                        message[0] = static_cast<uchar>(id);
                    const bool used = len > 0 && len >= least.value({i, id}, 9);
                    if (object->handle_message(message.get(), len) != used)
                        wrong.append(QStringLiteral("%1, identifier %2, length %3: %4")
                                         .arg(QLatin1String(expected_objects[i].path))
                                         .arg(id, 2, 16, QLatin1Char('0'))
                                         .arg(len)
                                         .arg(used ? QLatin1String("refused, and has to be used")
                                                   : QLatin1String("used, and has to be refused")));
                }
            }
        }
        errors.reset();
        output.reset();
        QCOMPARE(wrong, QStringList());
    }

    void refused_message_is_reported_in_decimal()
    {
        Captured_descriptor errors(STDERR_FILENO);
        Interface_base* lock = world_.daemon->devices()[Device_object::lock];
        const uchar message[8] = {0x36};
        QVERIFY(!lock->handle_message(message, 8));
        QVERIFY(!lock->handle_message(message, 1));
        QVERIFY(!lock->handle_message(message, 0));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=54 len=8\nUnhandled id=54 len=1\n"
                                           "Unhandled id=0 len=0\n"));
    }

    void objects_are_deleted_in_order()
    {
        Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->handle_quit();
        QCOMPARE(output.text(), QByteArray("Quiting\nBUZ cleaning up\n"));
        QVERIFY(world_.daemon->devices()[Device_object::buzzer] == nullptr);
    }

    void table_makes_every_object_in_order()
    {
        Captured_descriptor output(STDOUT_FILENO);
        create_objects(world_.daemon);
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
};

int main(int count, char** arguments)
{
    return run_with_daemon<Object_table_test>(count, arguments, "<power/>");
}
#include "object_table.moc"
