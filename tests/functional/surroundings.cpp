// A terminal whose surroundings fail: no bus, no line, a line that breaks, hostile files.

#include "Terminal.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <sys/stat.h>

/// Puts something in the place of a file; whether it could.
using Replacement = bool (*)(const QString& path);
Q_DECLARE_METATYPE(Replacement)

class Surroundings : public QObject {
    Q_OBJECT

private:
    static QString power_configuration() { return QStringLiteral("etc/power_manage.conf"); }
    static QString oem_profile() { return QStringLiteral("etc/oem_profile.conf"); }

    /// The most memory the daemon has had, in kilobytes.
    static int peak_memory(const Terminal& terminal)
    {
        QFile file(QStringLiteral("/proc/%1/status").arg(terminal.daemon.pid()));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith("VmHWM:"))
                return line.mid(6).simplified().split(' ')[0].toInt();
        }
        return -1;
    }

    static QByteArray nested(const char* root, int depth)
    {
        return "<" + QByteArray(root) + ">" + QByteArray("<a>").repeated(depth) +
               QByteArray("</a>").repeated(depth) + "</" + root + ">";
    }

    /// Entities of entities, a thousand million characters in all.
    static QByteArray entity_bomb(const char* root)
    {
        QByteArray text = "<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY a0 \"aaaaaaaaaa\">";
        for (int i = 1; i < 9; ++i) {
            const QByteArray inner = "&a" + QByteArray::number(i - 1) + ";";
            text += "<!ENTITY a" + QByteArray::number(i) + " \"" + inner.repeated(10) + "\">";
        }
        return text + "]><" + root + ">&a8;</" + root + ">";
    }

    static void add_hostile_files(const char* root)
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("binary") << QByteArray::fromHex("7f454c4602010100000000000000fffe");
        QTest::newRow("nested deeply") << nested(root, 100000);
        QTest::newRow("entity bomb") << entity_bomb(root);
        QTest::newRow("10 MB of text")
            << "<" + QByteArray(root) + ">" + QByteArray(10 * 1024 * 1024, 'x') + "</" + root + ">";
        QTest::newRow("10 MB of elements") << "<" + QByteArray(root) + ">" +
                                                  QByteArray("<a b='c'/>").repeated(1024 * 1024) +
                                                  "</" + root + ">";
        QTest::newRow("cut off") << "<" + QByteArray(root) + "><a>";
    }

private Q_SLOTS:
    void daemon_runs_without_a_bus()
    {
        Terminal terminal;
        terminal.daemon.start(terminal.root.path(), QStringLiteral("unix:path=/nowhere/bus"),
                              {QStringLiteral("--port"), terminal.controller.device()});
        QVERIFY(terminal.wait_until_started());
        terminal.controller.send(QByteArray::fromHex("1c01"));
        QVERIFY(wait_for([&] { return terminal.daemon.output().contains("Got message 1c\n"); }));
        QVERIFY(terminal.ends_cleanly());
    }

    void daemon_outlives_its_bus()
    {
        Terminal terminal;
        terminal.start();
        terminal.bus.stop();
        terminal.controller.clear();
        QVERIFY(wait_for([&] { return terminal.controller.has_received("1b"); }));
        terminal.controller.send(QByteArray::fromHex("1c01"));
        QVERIFY(wait_for([&] { return terminal.daemon.output().contains("Got message 1c\n"); }));
        QVERIFY(terminal.ends_cleanly());
        QCOMPARE_ENDS(terminal.daemon.output(), "Quiting\nBUZ cleaning up\n");
    }

    void taken_service_name_changes_nothing_else()
    {
        Terminal terminal;
        QVERIFY(terminal.connection().registerService(QStringLiteral("com.quorin.system")));
        terminal.start();
        QVERIFY(terminal.ends_cleanly());
    }

    void missing_device_leaves_the_objects_served()
    {
        Terminal terminal;
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), QStringLiteral("/nowhere/tty")});
        QVERIFY(terminal.wait_until_started());
        const QString voltage = QStringLiteral("device/operating_voltage");
        terminal.call(voltage, QStringLiteral("set_operating_voltage"), {7U});
        QCOMPARE(terminal.get(voltage, QStringLiteral("get_operating_voltage")).toUInt(), 7U);
        QCOMPARE_LACKS(terminal.daemon.errors(), "QIODevice");
        QVERIFY(terminal.ends_cleanly());
    }

    void device_that_is_no_terminal_is_written_all_the_same()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("tmp/line"), "");
        const QString line = terminal.root.path(QStringLiteral("tmp/line"));
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), line});
        QVERIFY(terminal.wait_until_started());
        QVERIFY(terminal.ends_cleanly());
        QFile file(line);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QCOMPARE_STARTS(bytes, QByteArray::fromHex("18ef7859290100000000000002"));
        QCOMPARE_ENDS(bytes, QByteArray::fromHex("18ef785935000000000000000d"));
        QCOMPARE(bytes.size() % 13, 0);
    }

    void line_that_breaks_leaves_the_objects_served()
    {
        Terminal terminal;
        terminal.start();
        terminal.controller.hang_up();
        const QString voltage = QStringLiteral("device/operating_voltage");
        terminal.call(voltage, QStringLiteral("set_operating_voltage"), {7U});
        QCOMPARE(terminal.get(voltage, QStringLiteral("get_operating_voltage")).toUInt(), 7U);
        QVERIFY(terminal.ends_cleanly());
        QCOMPARE_ENDS(terminal.daemon.output(), "Quiting\nBUZ cleaning up\n");
    }

    void line_that_breaks_during_start_up()
    {
        Terminal terminal;
        terminal.launch();
        QVERIFY(wait_for([&] { return !terminal.controller.requests().isEmpty(); }));
        terminal.controller.hang_up();
        QVERIFY(wait_for([&] {
            return terminal.log.lines().contains(QLatin1String("Switching power state: null=>on"));
        }));
        QVERIFY(terminal.ends_cleanly());
    }

    void hostile_power_configuration_data() { add_hostile_files("power"); }
    void hostile_power_configuration()
    {
        QFETCH(QByteArray, content);
        Terminal terminal;
        terminal.root.write(power_configuration(), content);
        terminal.start();
        QCOMPARE_EMPTY(terminal.log.lines().filter(QStringLiteral("Timeout for")));
        QCOMPARE_EMPTY(terminal.log.lines().filter(QStringLiteral("PWR:")));
        QCOMPARE(terminal.root.systemctl_calls(),
                 QStringList{QStringLiteral("poweroff --no-block")});
        QVERIFY2(peak_memory(terminal) < 400 * 1024,
                 qPrintable(QString::number(peak_memory(terminal))));
    }

    void hostile_oem_profile_data() { add_hostile_files("profile"); }
    void hostile_oem_profile()
    {
        QFETCH(QByteArray, content);
        Terminal terminal;
        terminal.root.write(oem_profile(), content);
        terminal.start();
        QCOMPARE_EMPTY(terminal.log.lines().filter(QStringLiteral("Configured OEM")));
        QVERIFY2(peak_memory(terminal) < 400 * 1024,
                 qPrintable(QString::number(peak_memory(terminal))));
    }

    void configuration_that_cannot_be_read_data()
    {
        QTest::addColumn<Replacement>("make");
        QTest::newRow("directory") << +[](const QString& path) { return QDir().mkdir(path); };
        QTest::newRow("device that never ends")
            << +[](const QString& path) { return QFile::link(QStringLiteral("/dev/zero"), path); };
        QTest::newRow("link to itself")
            << +[](const QString& path) { return QFile::link(path, path); };
        QTest::newRow("pipe that nobody writes")
            << +[](const QString& path) { return mkfifo(path.toUtf8().constData(), 0600) == 0; };
    }
    void configuration_that_cannot_be_read()
    {
        QFETCH(Replacement, make);
        Terminal terminal;
        terminal.root.remove(power_configuration());
        QVERIFY(make(terminal.root.path(power_configuration())));
        QVERIFY(make(terminal.root.path(oem_profile())));
        terminal.start();
        QCOMPARE_EMPTY(terminal.log.lines().filter(QStringLiteral("Configured OEM")));
        QCOMPARE(terminal.root.systemctl_calls(),
                 QStringList{QStringLiteral("poweroff --no-block")});
    }

    void configuration_without_permission()
    {
        Terminal terminal;
        terminal.root.write(power_configuration(), Test_root::everything_on());
        QFile::setPermissions(terminal.root.path(power_configuration()), QFile::Permissions());
        // The superuser reads it all the same.
        QFile file(terminal.root.path(power_configuration()));
        const int calls = file.open(QIODevice::ReadOnly) ? 0 : 1;
        terminal.start();
        QCOMPARE(terminal.root.systemctl_calls().size(), calls);
    }
};

QTEST_GUILESS_MAIN(Surroundings)
#include "surroundings.moc"
