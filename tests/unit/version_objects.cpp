// The versions, the OEM objects and the media.

#include "Captured_console.h"
#include "Cmd_version_interface.h"
#include "Configuration_interface.h"
#include "HW_version_interface.h"
#include "Media_interface.h"
#include "OEMprofile_interface.h"
#include "Objects.h"
#include "PC_version_interface.h"
#include "Test_daemon.h"
#include "UID_version_interface.h"
#include "Version_command.h"
#include "Waiting.h"

#include <QDir>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using Payloads = QVector<QByteArray>;

class Version_objects : public QObject {
    Q_OBJECT
public:
    explicit Version_objects(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

    /// An object of the given kind, which the daemon owns.
    template <class Object>
    Object& make()
    {
        return *new Object(world_.daemon, QStringLiteral("object"));
    }

    static QString text_of(Version_interface& version)
    {
        const Captured_descriptor output(STDOUT_FILENO);
        return output_of(version, &Version_interface::get);
    }

    QString command_text(const QString& command)
    {
        return text_of(*new Cmd_version_interface(world_.daemon, command, QStringLiteral("c")));
    }

    /// A media directory of this test's own, ending in '/'.
    QString media(const char* name) const
    {
        world_.root.make_directory(QString::fromLatin1(name));
        return world_.root.path(QString::fromLatin1(name)) + QLatin1Char('/');
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void get_prints_what_it_returns()
    {
        auto& version = make<PC_version_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        QCOMPARE(output_of(version, &Version_interface::get), QStringLiteral("No PC Comms"));
        QVERIFY(offer(version, "1600070102000000"));
        QCOMPARE(output_of(version, &Version_interface::get), QStringLiteral("v2.1.7"));
        QCOMPARE(output.text(), QByteArray("Send No PC Comms\nGot version\nSend v2.1.7\n"));
    }

    void firmware_version_is_major_minor_patch()
    {
        auto& version = make<PC_version_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        const Captured_descriptor output(STDOUT_FILENO);
        QVERIFY(offer(version, "16fffffefd"));
        QCOMPARE(text_of(version), QStringLiteral("v253.254.255"));
        QVERIFY(offer(version, "16ff000000ffffff"));
        QCOMPARE(text_of(version), QStringLiteral("v0.0.0"));
        QVERIFY(!offer(version, "16000701"));
        QVERIFY(!offer(version, "1500070102000000"));
        QCOMPARE(text_of(version), QStringLiteral("v0.0.0"));
        QVERIFY(errors.text().isEmpty()); // refused without a report
    }

    void hardware_versions_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QString>("version");
        QTest::newRow("0") << QByteArray("1200") << QStringLiteral("v1.0");
        QTest::newRow("10") << QByteArray("120a") << QStringLiteral("v1.0");
        QTest::newRow("11") << QByteArray("120b") << QStringLiteral("v1.1");
        QTest::newRow("19") << QByteArray("1213") << QStringLiteral("v1.1");
        QTest::newRow("20") << QByteArray("1214") << QStringLiteral("v2.0");
        QTest::newRow("255") << QByteArray("12ff") << QStringLiteral("v2.0");
        QTest::newRow("other bytes") << QByteArray("120bffffffffffff") << QStringLiteral("v1.1");
    }
    void hardware_versions()
    {
        QFETCH(QByteArray, message);
        auto& version = make<HW_version_interface>();
        QCOMPARE(text_of(version), QStringLiteral("No PC Comms"));
        QVERIFY(offer(version, message));
        QTEST(text_of(version), "version");
    }

    void hardware_version_reports_what_it_refuses()
    {
        auto& version = make<HW_version_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(version, "1100000000000000"));
        QVERIFY(!offer(version, "12"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=17 len=8\nUnhandled id=18 len=1\n"));
        QCOMPARE(text_of(version), QStringLiteral("No PC Comms"));
    }

    void unique_identifier_is_seven_bytes()
    {
        auto& version = make<UID_version_interface>();
        QCOMPARE(text_of(version), QStringLiteral("No PC Comms"));
        Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(version, "1a001fa0ff010203"));
        QCOMPARE(output.text(), QByteArray("Got unique ID: 001FA0FF010203\n"));
        QVERIFY(!offer(version, "1a001fa0ff0102"));
        QVERIFY(!offer(version, "1900000000000000"));
        QVERIFY(errors.text().isEmpty()); // refused without a report
        QCOMPARE(text_of(version), QStringLiteral("001FA0FF010203"));
    }

    void commands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* command, const char* text) {
            QTest::newRow(command) << QString::fromLatin1(command) << QString::fromUtf8(text);
        };
        row("echo 1234", "1234\n");
        row("echo -n 1234", "1234");
        row("true", "");
        row("false", "");
        row("sh -c \"echo out; echo err >&2\"", "err\n");
        row("sh -c \"echo out; exit 3\"", "out\n");
        row("sh -c \"printf 'a\\000b'\"", "a");
        row("sh -c \"printf '\\303\\244'\"", "\xc3\xa4");
        row("sh -c \"echo a; printf '\\000' >&2\"", ""); // standard error wins, up to its NUL
        row("echo \"two words\" 'single'", "two words 'single'\n");
        row("/nonexistent/command", "failed to run cmd\n");
        row("", "failed to run cmd\n");
    }
    void commands()
    {
        QFETCH(QString, command);
        QTEST(command_text(command), "text");
    }

    void text_is_printed_in_utf_8()
    {
        auto* version = new Cmd_version_interface(
            world_.daemon, QStringLiteral("printf \\303\\244\\342\\202\\254"), QStringLiteral("c"));
        Captured_descriptor output(STDOUT_FILENO);
        output_of(*version, &Version_interface::get);
        QCOMPARE(output.text(), QByteArray("Send \xc3\xa4\xe2\x82\xac\n"));
    }

    void missing_file_publishes_the_error()
    {
        const QString text = command_text(QStringLiteral("cat /nonexistent/SERIAL_NUMBER"));
        QVERIFY(text.contains(QLatin1String("cat: ")));
        QVERIFY(text.contains(QLatin1String("/nonexistent/SERIAL_NUMBER")));
    }

    void command_version_never_changes()
    {
        auto* version =
            new Cmd_version_interface(world_.daemon, QStringLiteral("echo x"), QStringLiteral("c"));
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(*version, "1600070102000000"));
        QVERIFY(!offer(*version, "1214"));
        QCOMPARE(text_of(*version), QStringLiteral("x\n"));
    }

    void command_started_ahead_runs_once()
    {
        const QString command = QStringLiteral("sh -c \"echo x >> %1; cat %1\"")
                                    .arg(world_.root.path(QStringLiteral("runs")));
        Version_command started(command);
        auto& version = *new Cmd_version_interface(world_.daemon, started, QStringLiteral("c"));
        QCOMPARE(text_of(version), QStringLiteral("x\n"));
        QCOMPARE(command_text(command), QStringLiteral("x\nx\n"));
    }

    void large_output_is_taken_whole()
    {
        QCOMPARE(command_text(QStringLiteral("sh -c \"yes | head -c 300000\"")).size(), 300000);
    }

    void output_is_bounded_by_its_bytes_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("print");
        QTest::addColumn<int>("published");
        constexpr int most = 16 * 1024 * 1024;
        const QString all = QStringLiteral("yes | head -c %1");
        const QString in_two =
            QStringLiteral("yes | head -c 9999999; yes | head -c $((%1-9999999))");
        const QString to_errors = QStringLiteral("echo; yes | head -c %1 >&2");
        const QString with_errors = QStringLiteral("echo x >&2; yes | head -c %1");
        const QString not_utf_8 = QStringLiteral("head -c %1 /dev/zero | tr '\\000' '\\377'");
        const int refused = static_cast<int>(qstrlen("failed to run cmd\n"));
        const auto row = [](const char* name, int bytes, const QString& print, int published) {
            QTest::newRow(name) << bytes << print << published;
        };
        row("16 MiB", most, all, most);
        row("16 MiB and a byte", most + 1, all, refused);
        row("16 MiB in two pieces", most, in_two, most);
        row("16 MiB and a byte in two pieces", most + 1, in_two, refused);
        row("20 MiB", 20 * 1024 * 1024, all, refused);
        row("16 MiB on standard error", most, to_errors, most);
        row("16 MiB and a byte on standard error", most + 1, to_errors, refused);
        row("16 MiB that are not published", most, with_errors, 2);
        row("16 MiB and a byte that are not published", most + 1, with_errors, refused);
        row("not UTF-8, three bytes each", most / 3, not_utf_8, most / 3);
        row("not UTF-8, and a byte", most / 3 + 1, not_utf_8, refused);
    }
    void output_is_bounded_by_its_bytes()
    {
        QFETCH(int, bytes);
        QFETCH(QString, print);
        const QString text = command_text(QStringLiteral("sh -c \"%1\"").arg(print.arg(bytes)));
        QTEST(static_cast<int>(text.size()), "published");
    }

    void oem_code_is_requested_and_reported()
    {
        auto& profile = make<OEMprofile_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{255});
        profile.set_code(3);
        profile.set_code(255);
        QCOMPARE(world_.link->sent, (Payloads{"3d03000000000000", "3dff000000000000"}));
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{255});
        QVERIFY(offer(profile, "3e07000000000000"));
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{7});
        QVERIFY(!offer(profile, "3d08000000000000"));
        QVERIFY(!offer(profile, "3e"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=61 len=8\nUnhandled id=62 len=1\n"));
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{7});
        QCOMPARE(world_.lines(), (QStringList{QStringLiteral("Requested OEM code 3"),
                                              QStringLiteral("Requested OEM code 255"),
                                              QStringLiteral("OEM code was set to 7")}));
    }

    void configuration_adds_1_to_the_code_on_the_line()
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

    void configuration_keeps_the_last_report()
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

    void media_present_at_the_start_are_announced()
    {
        world_.root.make_directory(QStringLiteral("media/usb0"));
        Captured_descriptor output(STDOUT_FILENO);
        auto& object = make<Media_interface>();
        const QByteArray directory = world_.root.path(QStringLiteral("media")).toUtf8() + "/";
        QCOMPARE(output.text(), "Media changed " + directory + "\nAdded usb0\nCurrent usb0\n");
        // Changes of the directory reach it, and leaving and coming are in that order.
        QSignalSpy connection(&object, &Media_interface::connection);
        world_.root.remove(QStringLiteral("media/usb0"));
        world_.root.make_directory(QStringLiteral("media/usb1"));
        QVERIFY(wait_for_signals(connection, 2));
        QCOMPARE(seen(connection),
                 (QList<QVariantList>{{QString::fromUtf8(directory + "usb0"), false},
                                      {QString::fromUtf8(directory + "usb1"), true}}));
        QVERIFY(world_.link->sent.isEmpty());
    }

    static bool wait_for_signals(const QSignalSpy& spy, int count)
    {
        return QTest::qWaitFor([&] { return spy.count() >= count; }, patience_ms);
    }

    void media_are_compared_with_the_last_scan()
    {
        const Captured_descriptor quiet(STDERR_FILENO);
        const QString first = media("first");
        const QString second = media("second");
        for (const char* name : {"first/usb1", "first/usba", "first/usbB", "second/usb1"})
            world_.root.make_directory(QString::fromLatin1(name));
        world_.root.write(QStringLiteral("first/usb.file"), "");
        Captured_descriptor output(STDOUT_FILENO);
        auto& object = make<Media_interface>();
        QSignalSpy connection(&object, &Media_interface::connection);
        object.media_changed(first);
        const auto before = connection.count();
        object.media_changed(second);
        object.media_changed(QStringLiteral("/nonexistent/"));
        const auto all = seen(connection);
        QCOMPARE(all.mid(before),
                 (QList<QVariantList>{{second + QLatin1String("usb.file"), false},
                                      {second + QLatin1String("usba"), false},
                                      {second + QLatin1String("usbB"), false},
                                      {QStringLiteral("/nonexistent/usb1"), false}}));
        QVERIFY(output.text().contains("Media changed " + first.toUtf8() + "\n"));
        // In the order of the names, whatever their case.
        QVERIFY(output.text().contains("Current usb.file\nCurrent usb1\nCurrent usba\n"
                                       "Current usbB\n"));
        QVERIFY(output.text().endsWith("Media changed /nonexistent/\nRemoved usb1\n"));
    }

    void media_are_directories_and_files_named_usb()
    {
        const QString directory = media("kinds");
        for (const char* name : {"usbdir", "USB1", "data", "ausb", ".usb", "usb"})
            world_.root.make_directory(QLatin1String("kinds/") + QString::fromLatin1(name));
        world_.root.write(QStringLiteral("kinds/usbfile"), "");
        const QByteArray path = directory.toUtf8();
        QCOMPARE(symlink("usbdir", (path + "usblink").constData()), 0);
        QCOMPARE(symlink("nowhere", (path + "usbbroken").constData()), 0);
        QCOMPARE(mkfifo((path + "usbpipe").constData(), 0600), 0);
        Captured_descriptor output(STDOUT_FILENO);
        auto& object = make<Media_interface>();
        object.media_changed(directory);
        QVERIFY(output.text().endsWith("Current usb\nCurrent usbdir\nCurrent usbfile\n"
                                       "Current usblink\n"));
    }

    void renamed_medium_goes_and_comes()
    {
        const QString directory = media("renamed");
        world_.root.make_directory(QStringLiteral("renamed/usb0"));
        const Captured_descriptor output(STDOUT_FILENO);
        auto& object = make<Media_interface>();
        object.media_changed(directory);
        QSignalSpy connection(&object, &Media_interface::connection);
        QVERIFY(QDir(directory).rename(QStringLiteral("usb0"), QStringLiteral("usb0a")));
        object.media_changed(directory);
        object.media_changed(directory); // nothing new
        QCOMPARE(seen(connection),
                 (QList<QVariantList>{{directory + QLatin1String("usb0"), false},
                                      {directory + QLatin1String("usb0a"), true}}));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Version_objects>(count, arguments, "<power/>");
}
#include "version_objects.moc"
