// The expansion of the object table.

#include "Object_table.h"

#include "Captured_console.h"
#include "Interface_base.h"
#include "Test_daemon.h"

#include <QRegularExpression>

class Object_table_test : public QObject {
    Q_OBJECT
public:
    explicit Object_table_test(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

private Q_SLOTS:
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

    /// No object reads beyond a message, whatever its identifier: the sanitizers watch.
    void messages_of_every_length_and_identifier()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        for (std::size_t i = 0; i < device_object_count; ++i) {
            Interface_base* object = world_.daemon->devices()[static_cast<Device_object>(i)];
            for (uint id = 0; id < 256; ++id) {
                for (uint len = 0; len <= 8; ++len) {
                    const std::unique_ptr<uchar[]> message(new uchar[len]);
                    std::fill_n(message.get(), len, uchar{0xA5});
                    if (len > 0)
                        message[0] = static_cast<uchar>(id);
                    object->handle_message(message.get(), len);
                }
            }
        }
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
};

int main(int count, char** arguments)
{
    return run_with_daemon<Object_table_test>(count, arguments, "<power/>");
}
#include "object_table.moc"
