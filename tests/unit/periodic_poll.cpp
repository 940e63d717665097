// The periodic poll and the detection of the firmware, against objects without a controller.

#include "Captured_console.h"
#include "Configuration_interface.h"
#include "HW_version_interface.h"
#include "Ignition_interface.h"
#include "OEMprofile_interface.h"
#include "Objects.h"
#include "PC_version_interface.h"
#include "Poll.h"
#include "Test_daemon.h"
#include "UID_version_interface.h"

class Periodic_poll_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    const Payloads polls_ = {"1b00000000000000", "2100000000000000", "2300000000000000",
                             "2700000000000000"};
    const QByteArray hardware_1_1_ = "120b";
    const QByteArray hardware_2_0_ = "1214";
    const QByteArray firmware_1_5_ = "1600000501";
    const QByteArray firmware_2_0_ = "1600000002";

    template <class Object>
    void make(Device_object device)
    {
        world_.daemon->devices()[device] = new Object(world_.daemon, QStringLiteral("object"));
    }

    void tell(Device_object device, const QByteArray& hex)
    {
        const Captured_descriptor output(STDOUT_FILENO);
        QVERIFY(offer(*world_.daemon->devices()[device], hex));
        world_.clear();
    }

    void tell_versions(const QByteArray& hardware, const QByteArray& firmware)
    {
        tell(Device_object::unique_device_id, "1a00000000000000");
        tell(Device_object::hardware_version, hardware);
        tell(Device_object::firmware_version, firmware);
    }

    /// What one period sends after the four polls.
    Payloads poll()
    {
        world_.clear();
        const Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->send_periodic_cmds();
        if (world_.link->sent.mid(0, 4) != polls_)
            return {"the polls are not as they should be"};
        return world_.link->sent.mid(4);
    }

    QStringList log() { return world_.lines(); }

    /// What one period logs, with "+" where it sends a request after the four polls.
    QStringList log_with_requests()
    {
        QStringList sequence;
        world_.link->before_sending = [this, &sequence] {
            world_.log.settle();
            sequence += world_.log.lines();
            sequence += QStringLiteral("+");
            world_.log.clear();
        };
        poll();
        world_.link->before_sending = nullptr;
        return sequence.mid(polls_.size()) + log();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(!world_.daemon->firmware_detection_done()); }
    void init()
    {
        make<UID_version_interface>(Device_object::unique_device_id);
        make<HW_version_interface>(Device_object::hardware_version);
        make<PC_version_interface>(Device_object::firmware_version);
        make<Ignition_interface>(Device_object::ignition);
        make<Configuration_interface>(Device_object::configuration);
        make<OEMprofile_interface>(Device_object::oem_profile);
        world_.daemon->set_firmware_detection_done(false);
    }
    void cleanup()
    {
        const Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->handle_quit();
    }

    void profile_is_read()
    {
        QCOMPARE(world_.daemon->oem_code(), uchar{3});
        QCOMPARE(world_.daemon->remote_power_up_delay(), uchar{15});
    }

    void silent_controller_is_asked_for_everything()
    {
        for (int period = 0; period < 2; ++period) {
            QCOMPARE(poll(),
                     (Payloads{"1900000000000000", "1100000000000000", "1500000000000000"}));
            QCOMPARE(log(), QStringList());
        }
    }

    /// Who plays the host goes by them.
    void tables_say_what_is_asked()
    {
        Payloads expected;
        for (const uchar id : polled_requests)
            expected.append(QByteArray(1, static_cast<char>(id)).toHex() + QByteArray(14, '0'));
        for (const uchar id : version_requests)
            expected.append(QByteArray(1, static_cast<char>(id)).toHex() + QByteArray(14, '0'));
        world_.clear();
        const Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->send_periodic_cmds();
        QCOMPARE(world_.link->sent, expected);
    }

    void each_period_prints_and_reads_in_order()
    {
        Captured_descriptor output(STDOUT_FILENO);
        offer(*world_.daemon->devices()[Device_object::hardware_version], hardware_1_1_);
        world_.daemon->send_periodic_cmds();
        QCOMPARE(output.text(), QByteArray("Periodic\nSend No PC Comms\nSend v1.1\n"
                                           "Send No PC Comms\n"));
    }

    void only_missing_versions_are_asked_for()
    {
        tell(Device_object::hardware_version, hardware_1_1_);
        QCOMPARE(poll(), (Payloads{"1900000000000000", "1500000000000000"}));
        tell(Device_object::unique_device_id, "1a00000000000000");
        QCOMPARE(poll(), Payloads{"1500000000000000"});
        tell(Device_object::firmware_version, firmware_2_0_);
        poll();
        QCOMPARE(poll(), Payloads());
    }

    void missing_firmware_version_starts_the_detection_anew()
    {
        world_.daemon->set_firmware_detection_done(true);
        tell(Device_object::hardware_version, hardware_1_1_);
        poll();
        QVERIFY(!world_.daemon->firmware_detection_done());
    }

    void unknown_identifier_does_not_hold_the_detection_back()
    {
        tell(Device_object::hardware_version, hardware_1_1_);
        tell(Device_object::firmware_version, firmware_1_5_);
        QCOMPARE(poll(), (Payloads{"1900000000000000", "0502020500000000"}));
        QVERIFY(world_.daemon->firmware_detection_done());
    }

    void legacy_controllers_data()
    {
        QTest::addColumn<QByteArray>("hardware");
        QTest::addColumn<QByteArray>("firmware");
        QTest::addColumn<QByteArray>("ignition");
        QTest::addColumn<Payloads>("sent");
        QTest::addColumn<QStringList>("log");
        const Payloads correction = {"0502020500000000"};
        QTest::newRow("firmware, mode 1")
            << hardware_1_1_ << firmware_1_5_ << QByteArray("0601000001000000") << correction
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 1"),
                           QStringLiteral("Line 15 mode changed to 1")};
        QTest::newRow("firmware, mode 2")
            << hardware_1_1_ << firmware_1_5_ << QByteArray("0602000001000000") << Payloads()
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 2")};
        QTest::newRow("firmware, mode not told")
            << hardware_1_1_ << firmware_1_5_ << QByteArray() << correction
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 255"),
                           QStringLiteral("Line 15 mode changed to 255")};
        QTest::newRow("firmware 1.255.255")
            << hardware_1_1_ << QByteArray("1600ffff01") << QByteArray("0602000001000000")
            << Payloads()
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 2")};
        // Compared as texts: "v10.0.0" is below "v2.0.0".
        QTest::newRow("firmware 10.0.0")
            << hardware_1_1_ << QByteArray("160000000a") << QByteArray("0602000001000000")
            << Payloads()
            << QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 2")};
        QTest::newRow("hardware 1.1, mode 0")
            << hardware_1_1_ << QByteArray("1600000102") << QByteArray("0600000001000000")
            << correction
            << QStringList{
                   QStringLiteral("Legacy PMC Hardware detected. Current Line 15 mode is 0"),
                   QStringLiteral("Line 15 mode changed to 0")};
        QTest::newRow("hardware 1.0, mode 2")
            << QByteArray("1200") << firmware_2_0_ << QByteArray("0602000001000000") << Payloads()
            << QStringList{
                   QStringLiteral("Legacy PMC Hardware detected. Current Line 15 mode is 2")};
    }
    void legacy_controllers()
    {
        QFETCH(QByteArray, hardware);
        QFETCH(QByteArray, firmware);
        QFETCH(QByteArray, ignition);
        tell_versions(hardware, firmware);
        if (!ignition.isEmpty())
            tell(Device_object::ignition, ignition);
        QTEST(poll(), "sent");
        QTEST(log(), "log");
        QVERIFY(world_.daemon->firmware_detection_done());
        QCOMPARE(poll(), Payloads()); // once
        QCOMPARE(log(), QStringList());
    }

    void new_controllers_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<Payloads>("sent");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<bool>("done");
        const Payloads query = {"2d04040055010000"};
        const QStringList queried = {QStringLiteral("Set Configuration for OEM code 4")};
        QTest::newRow("no answer yet") << QByteArray() << query << queried << false;
        QTest::newRow("other delay")
            << QByteArray("2e04040a00000000") << Payloads{"3d03000000000000", "2d04040faa010000"}
            << QStringList{QStringLiteral("OEM Profile based PMC FW detected"),
                           QStringLiteral("Requested OEM code 3"),
                           QStringLiteral("OEM Remote Power up Delay detected. Is currently 10"),
                           QStringLiteral("Set Configuration for OEM code 4"),
                           QStringLiteral("OEM Remote Power up Delay changed to 15")}
            << true;
        QTest::newRow("equal delay")
            << QByteArray("2e04040f00000000") << Payloads{"3d03000000000000"}
            << QStringList{QStringLiteral("OEM Profile based PMC FW detected"),
                           QStringLiteral("Requested OEM code 3"),
                           QStringLiteral("OEM Remote Power up Delay detected. Is currently 15")}
            << true;
        QTest::newRow("other code, offset 4")
            << QByteArray("2e05040f00000000") << Payloads() << QStringList() << false;
        QTest::newRow("other code, other offset")
            << QByteArray("2e05050f00000000") << query << queried << false;
        QTest::newRow("same code, other offset")
            << QByteArray("2e04050f00000000") << Payloads() << QStringList() << false;
    }
    void new_controllers()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, done);
        tell_versions(hardware_2_0_, firmware_2_0_);
        if (!answer.isEmpty())
            tell(Device_object::configuration, answer);
        QTEST(poll(), "sent");
        QTEST(log(), "log");
        QCOMPARE(world_.daemon->firmware_detection_done(), done);
    }

    void corrections_are_logged_around_their_requests()
    {
        tell_versions(hardware_1_1_, firmware_1_5_);
        QCOMPARE(log_with_requests(),
                 (QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 255"),
                              QStringLiteral("+"), QStringLiteral("Line 15 mode changed to 255")}));
        world_.daemon->set_firmware_detection_done(false);
        tell_versions(hardware_2_0_, firmware_2_0_);
        tell(Device_object::configuration, "2e04040a00000000");
        QCOMPARE(
            log_with_requests(),
            (QStringList{QStringLiteral("OEM Profile based PMC FW detected"), QStringLiteral("+"),
                         QStringLiteral("Requested OEM code 3"),
                         QStringLiteral("OEM Remote Power up Delay detected. Is currently 10"),
                         QStringLiteral("+"), QStringLiteral("Set Configuration for OEM code 4"),
                         QStringLiteral("OEM Remote Power up Delay changed to 15")}));
    }

    void old_firmware_on_new_hardware_is_legacy()
    {
        tell_versions(hardware_2_0_, firmware_1_5_);
        tell(Device_object::configuration, "2e04040f00000000");
        tell(Device_object::ignition, "0602000001000000");
        QCOMPARE(poll(), Payloads());
        QCOMPARE(log(),
                 QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 2")});
    }

    void new_hardware_is_queried_before_the_firmware_is_known()
    {
        tell(Device_object::unique_device_id, "1a00000000000000");
        tell(Device_object::hardware_version, hardware_2_0_);
        QCOMPARE(poll(), (Payloads{"1500000000000000", "2d04040055010000"}));
    }

    void missing_objects_skip_their_step()
    {
        tell_versions(hardware_2_0_, firmware_2_0_);
        tell(Device_object::configuration, "2e04040a00000000");
        world_.daemon->devices()[Device_object::oem_profile] = nullptr;
        QCOMPARE(poll(), Payloads{"2d04040faa010000"});
        world_.daemon->devices()[Device_object::configuration] = nullptr;
        world_.daemon->set_firmware_detection_done(false);
        QCOMPARE(poll(), Payloads());
        QVERIFY(!world_.daemon->firmware_detection_done());
        for (const Device_object version :
             {Device_object::unique_device_id, Device_object::hardware_version,
              Device_object::firmware_version})
            world_.daemon->devices()[version] = nullptr;
        QCOMPARE(poll(), (Payloads{"1900000000000000", "1100000000000000", "1500000000000000"}));
    }

    void missing_ignition_has_no_mode_to_change()
    {
        tell_versions(hardware_1_1_, firmware_1_5_);
        world_.daemon->devices()[Device_object::ignition] = nullptr;
        QCOMPARE(poll(), Payloads());
    }

    void zz_nothing_is_polled_while_exiting()
    {
        QVERIFY(world_.daemon->begin_exit());
        world_.clear();
        Captured_descriptor output(STDOUT_FILENO);
        world_.daemon->send_periodic_cmds();
        QCOMPARE_EMPTY(output.text());
        QCOMPARE_EMPTY(world_.link->sent);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Periodic_poll_test>(count, arguments, "<power/>",
                                               "<profile><code>3</code></profile>");
}
#include "periodic_poll.moc"
