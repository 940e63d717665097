// dov-report on a terminal that is whole, and on one that is broken in every way it knows. What it
// asks of the machine is answered by stubs, what it asks of the service by the daemon itself.

#include "Terminal.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>

class Program : public QObject {
    Q_OBJECT

    struct Run {
        int status;
        QString out;
        QString err;
    };

    std::unique_ptr<Terminal> terminal_;

    Terminal& terminal() { return *terminal_; }

    /// A program of the machine's, in the terminal's own search path.
    void stub(const char* name, const char* script)
    {
        const QString below = QStringLiteral("stubs/") + QLatin1String(name);
        terminal().root.write(below, QByteArray("#!/bin/sh\n") + script + '\n');
        QFile::setPermissions(terminal().root.path(below),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void unit_is(const char* properties)
    {
        terminal().root.write(QStringLiteral("unit"), properties);
        stub("systemctl", "[ \"$1\" != show ] || cat ../unit");
    }

    /// Everything that a whole terminal has, and everything that its controller tells.
    void make_whole()
    {
        const Test_root& root = terminal().root;
        root.make_directory(QStringLiteral("stubs"));
        root.make_directory(QStringLiteral("dev/dov"));
        root.write(QStringLiteral("dev/ttyUSB0"), {});
        root.write(QStringLiteral("dev/dov/controller"), {});
        root.make_directory(QStringLiteral("run/dov-line"));
        QFile profile(QStringLiteral(DOV_EXAMPLES "/oem_profile.conf"));
        QVERIFY(profile.open(QIODevice::ReadOnly));
        root.write(QStringLiteral("etc/oem_profile.conf"), profile.readAll());
        unit_is("LoadState=loaded\nUnitFileState=enabled\nActiveState=active\n"
                "SubState=running\nNRestarts=0\nResult=success\nMainPID=0\n");
        stub("journalctl", "echo the journal of $2, from adapter A1B2C3");
        stub("udevadm", "echo '    ATTRS{serial}==\"A1B2C3\"'");
        stub("busctl", "echo PID=1");
        stub("dpkg-query", "echo dov-dbus 1.0.0");
        stub("getent", "echo dov:x:999:");
        stub("df", "echo filesystem; echo 'tmpfs 100 10 90 10% /'");
        for (const char* message :
             {"1201", "160001020304", "1a01020304050607", "3601112200010001", "1e1122", "201122",
              "2211221122112201", "2411221122112201", "28010203040506"})
            terminal().controller.send(QByteArray::fromHex(message));
        terminal().settle();
    }

    Run run(const QStringList& arguments)
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
                           terminal().root.path(QStringLiteral("stubs")) +
                               QStringLiteral(":" DOV_TOOLS_DIRECTORY ":/usr/bin:/bin"));
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), terminal().bus.address());
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(terminal().root.path(QStringLiteral("stubs")));
        process.start(QStringLiteral(DOV_TOOLS_DIRECTORY "/dov-report"),
                      QStringList{QStringLiteral("--root"), terminal().root.path()} + arguments);
        if (!wait_for([&process] { return process.state() == QProcess::NotRunning; }))
            qFatal("dov-report does not end");
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    Run check(const QStringList& more = {})
    {
        return run(QStringList{QStringLiteral("--check")} + more);
    }

    /// The summary below its first line.
    static QStringList findings(const Run& run) { return run.out.split(QLatin1Char('\n')).mid(2); }

    /// The files of an archive, by name, without their directory.
    QHash<QString, QByteArray> unpacked(const QString& archive)
    {
        terminal().root.make_directory(QStringLiteral("unpacked"));
        const QString directory = terminal().root.path(QStringLiteral("unpacked"));
        if (QProcess::execute(QStringLiteral("tar"),
                              {QStringLiteral("-C"), directory, QStringLiteral("-xzf"), archive,
                               QStringLiteral("--strip-components=1")}) != 0)
            qFatal("%s is no archive", qPrintable(archive));
        QHash<QString, QByteArray> files;
        for (const QString& name : QDir(directory).entryList(QDir::Files)) {
            QFile file(directory + QLatin1Char('/') + name);
            if (file.open(QIODevice::ReadOnly))
                files[name] = file.readAll();
        }
        return files;
    }

    struct Break {
        const char* first; ///< what is said first, or how that begins
        void (Program::*breaks)();
    };

    void unit_goes() { unit_is("LoadState=not-found\nActiveState=inactive\n"); }
    void unit_is_masked() { unit_is("LoadState=masked\nActiveState=inactive\n"); }
    void unit_is_disabled()
    {
        unit_is("LoadState=loaded\nUnitFileState=disabled\nActiveState=active\n"
                "SubState=running\nNRestarts=0\n");
    }
    void unit_fails()
    {
        unit_is("LoadState=loaded\nUnitFileState=enabled\nActiveState=failed\n"
                "SubState=failed\nNRestarts=0\nResult=exit-code\n");
    }
    void unit_comes_and_goes()
    {
        unit_is("LoadState=loaded\nUnitFileState=enabled\nActiveState=activating\n"
                "SubState=auto-restart\nNRestarts=9\nResult=signal\n");
    }
    void unit_is_restarted()
    {
        unit_is("LoadState=loaded\nUnitFileState=enabled\nActiveState=active\n"
                "SubState=running\nNRestarts=5\nResult=success\n");
    }
    void adapter_goes()
    {
        terminal().root.remove(QStringLiteral("dev/dov/controller"));
        terminal().root.remove(QStringLiteral("dev/ttyUSB0"));
    }
    void adapter_loses_its_name() { terminal().root.remove(QStringLiteral("dev/dov/controller")); }
    void service_ends()
    {
        terminal().daemon.signal(SIGTERM);
        QVERIFY(terminal().daemon.wait_for_end());
    }
    void service_hangs() { terminal().daemon.signal(SIGSTOP); }
    void bus_ends() { terminal().bus.stop(); }
    void bus_refuses()
    {
        stub("dov-watch", "echo 'dov-watch: X get: Rejected send message, 1 matched rules' >&2\n"
                          "exit 4");
        stub("id", "[ \"$1\" = -un ] && echo operator || echo 1000");
    }
    void configuration_goes() { terminal().root.remove(QStringLiteral("etc/power_manage.conf")); }
    void configuration_is_cut()
    {
        terminal().root.write(QStringLiteral("etc/oem_profile.conf"), "<oem");
    }
    void group_goes() { stub("getent", "exit 2"); }
    void disk_fills() { stub("df", "echo filesystem; echo 'ext4 100 100 0 100% /var'"); }
    void controller_was_never_heard()
    {
        stub("dov-watch",
             "v=\\\"path\\\":\\\"/com/quorin/system/device/io/input\n"
             "echo \"{$v/analog/0\\\",\\\"value\\\":-1000000}\"\n"
             "echo \"{$v/digital/0\\\",\\\"value\\\":false}\"\n"
             "echo '{\"path\":\"/com/quorin/system/version/firmware\",\"value\":\"No PC Comms\"}'");
    }
    void tap_counts_errors()
    {
        terminal().root.write(QStringLiteral("run/dov-line/status.json"),
                              "{\n    \"answers\": {\n        \"0x11\": {\n"
                              "            \"unanswered\": 9\n        }\n    },\n"
                              "    \"checksum_errors\": 3,\n    \"unanswered\": 0\n}\n");
    }

    static constexpr Break breaks[] = {
        {"not installed: there is no unit dov-dbus.service", &Program::unit_goes},
        {"masked: dov-dbus.service may not be started; systemctl unmask dov-dbus.service",
         &Program::unit_is_masked},
        {"not enabled: the service does not start by itself; systemctl enable --now dov-dbus",
         &Program::unit_is_disabled},
        {"failed: the service has ended, with result \"exit-code\"", &Program::unit_fails},
        {"does not stay: the service ends and is started again, with result \"signal\"",
         &Program::unit_comes_and_goes},
        {"restarts: the service was started again 5 times", &Program::unit_is_restarted},
        {"adapter missing: there is neither /dev/dov/controller nor a /dev/ttyUSB",
         &Program::adapter_goes},
        {"adapter without its name: there is a ttyUSB0, and no udev rule calls it "
         "/dev/dov/controller",
         &Program::adapter_loses_its_name},
        {"no service: nobody owns com.quorin.system on the bus", &Program::service_ends},
        {"no answer: the service is on the bus and does not answer", &Program::service_hangs},
        {"no bus: the system bus cannot be joined", &Program::bus_ends},
        {"not allowed: the bus lets operator not read the service", &Program::bus_refuses},
        {"powers off: by its configuration the service switches the terminal off at start",
         &Program::configuration_goes},
        {"configuration rejected: ", &Program::configuration_is_cut},
        {"no group dov: only root may change anything", &Program::group_goes},
        {"no room: /var to 100%", &Program::disk_fills},
        {"nothing heard: the controller has reported no input since the service started",
         &Program::controller_was_never_heard},
        {"line: 3 checksum_errors counted by the tap", &Program::tap_counts_errors},
    };

private Q_SLOTS:
    void init()
    {
        terminal_ = std::make_unique<Terminal>();
        terminal_->start();
        make_whole();
    }
    void cleanup()
    {
        terminal_->daemon.signal(SIGCONT);
        terminal_.reset();
    }

    void nothing_looks_wrong()
    {
        const Run all = check();
        QCOMPARE(all.err, QString());
        QCOMPARE(findings(all), QStringList({QStringLiteral("Nothing looks wrong."), QString()}));
        QCOMPARE_STARTS(all.out, QLatin1String("dov-report 1."));
        QCOMPARE(all.status, 0);
    }

    void what_looks_wrong_data()
    {
        QTest::addColumn<int>("number");
        int number = 0;
        for (const Break& each : breaks)
            QTest::newRow(each.first) << number++;
    }

    void what_looks_wrong()
    {
        QFETCH(int, number);
        const Break& one = breaks[number];
        (this->*one.breaks)();
        const Run broken = check();
        const QStringList found = findings(broken);
        QCOMPARE(found.value(0), QStringLiteral("What looks wrong:"));
        QVERIFY2(found.value(1).startsWith(QStringLiteral("  - ") + QLatin1String(one.first)),
                 qPrintable(broken.out));
        QCOMPARE(broken.status, 1);
    }

    void versions_that_are_not_told_are_counted()
    {
        controller_was_never_heard();
        QCOMPARE_CONTAINS(
            findings(check()),
            QStringLiteral("  - versions unknown: the controller has not told 1 of its versions"));
    }

    void what_hangs_is_left_behind()
    {
        stub("systemctl", "exec sleep 1000");
        stub("getent", "exec sleep 1000");
        const Run hung = check({QStringLiteral("--limit"), QStringLiteral("5")});
        QCOMPARE(
            findings(hung),
            QStringList({QStringLiteral("Nothing looks wrong."), QString(),
                         QStringLiteral("What could not be looked at:"),
                         QStringLiteral("  - unit-properties: systemctl did not end within 5 s"),
                         QStringLiteral("  - group: getent did not end within 5 s"), QString()}));
        QCOMPARE(hung.status, 3);
    }

    void what_is_not_there_is_named()
    {
        stub("systemctl", "echo 'System has not been booted with systemd' >&2; exit 1");
        const Run bare = check();
        QVERIFY2(findings(bare).contains(QStringLiteral(
                     "  - unit-properties: System has not been booted with systemd")),
                 qPrintable(bare.out));
        QCOMPARE(bare.status, 3);
    }

    void the_archive_has_everything()
    {
        terminal().root.write(QStringLiteral("run/dov-line/ring"), "0.5 host 18ef\n");
        const QString archive = terminal().root.path(QStringLiteral("report.tar.gz"));
        const Run all = run({QStringLiteral("--output"), archive});
        QCOMPARE(all.err, QString());
        QCOMPARE_ENDS(all.out, QStringLiteral("Written to %1\n").arg(archive));
        const auto files = unpacked(archive);
        for (const char* name :
             {"SUMMARY", "versions", "packages", "unit-properties", "journal-service",
              "journal-log", "journal-kernel", "power_manage.conf", "oem_profile.conf",
              "configuration-check", "readings.json", "ports", "udev-controller", "udev-ttyUSB0",
              "memory", "uptime", "room", "line-ring"})
            QVERIFY2(files.contains(QLatin1String(name)), name);
        QCOMPARE_STARTS(all.out, QString::fromUtf8(files[QStringLiteral("SUMMARY")]));
        QCOMPARE_CONTAINS(files[QStringLiteral("readings.json")], "version/serial_number");
        QVERIFY(QFile::permissions(archive) ==
                (QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser));
    }

    void serial_numbers_are_blacked_out()
    {
        terminal().root.write(QStringLiteral("run/dov-line/ring"), "1a01020304050607\n");
        const QString archive = terminal().root.path(QStringLiteral("report.tar.gz"));
        (void)run({QStringLiteral("--redact"), QStringLiteral("--output"), archive});
        const auto files = unpacked(archive);
        QCOMPARE_CONTAINS(files, QStringLiteral("udev-ttyUSB0"));
        QCOMPARE_LACKS(files, QStringLiteral("line-ring"));
        for (auto file = files.begin(); file != files.end(); ++file) {
            QVERIFY2(!file->contains("A1B2C3"), qPrintable(file.key()));
            QVERIFY2(!file->toLower().contains("01020304050607"), qPrintable(file.key()));
        }
        QCOMPARE(files[QStringLiteral("serial-number")], QByteArray("XXXX\n"));
    }

    void nothing_is_changed()
    {
        stub("systemctl", "echo \"$1\" >>../asked; [ \"$1\" != show ] || cat ../unit");
        // The daemon's own: the poll after it has heard an old firmware's version sets line 15.
        QVERIFY(wait_for([this] { return terminal().controller.has_received("05020205"); }));
        terminal().clear();
        (void)run({QStringLiteral("--output"), QStringLiteral("/dev/null")});
        QFile asked(terminal().root.path(QStringLiteral("asked")));
        QVERIFY(asked.open(QIODevice::ReadOnly));
        QStringList verbs =
            QString::fromUtf8(asked.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        verbs.removeDuplicates();
        verbs.sort();
        QCOMPARE(verbs, QStringList({QStringLiteral("--version"), QStringLiteral("cat"),
                                     QStringLiteral("show"), QStringLiteral("status")}));
        terminal().settle();
        QCOMPARE(terminal().requests(), QStringList());
    }

    void an_archive_that_cannot_be_written()
    {
        const Run full = run({QStringLiteral("--output"), QStringLiteral("/nowhere/report")});
        QCOMPARE_STARTS(full.err, QLatin1String("dov-report: /nowhere/report: "));
        QCOMPARE(full.status, 4);
    }

    void wrong_usage_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("text");
        QTest::newRow("unknown option")
            << QStringList{"--what"} << QStringLiteral("unknown option \"--what\"");
        QTest::newRow("no value") << QStringList{"--limit"}
                                  << QStringLiteral("--limit takes a value");
        QTest::newRow("no number")
            << QStringList{"--limit=soon"} << QStringLiteral("--limit takes a number of seconds");
    }

    void wrong_usage()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, text);
        const Run wrong = run(arguments);
        QCOMPARE(wrong.err, QStringLiteral("dov-report: ") + text + QLatin1Char('\n'));
        QCOMPARE(wrong.status, 2);
    }
};

QTEST_GUILESS_MAIN(Program)
#include "program.moc"
