// Versions, the OEM profile and the controller's configuration.

#include "Terminal.h"

class Versions_and_oem : public QObject {
    Q_OBJECT

private:
    static QString version(Terminal& terminal, const char* name)
    {
        return terminal.get(QLatin1String("version/") + QLatin1String(name), QStringLiteral("get"))
            .toString();
    }

    /// What the same command prints in the same shell.
    static QByteArray shell_output(const QString& script)
    {
        QProcess shell;
        shell.start(QStringLiteral("sh"), {QStringLiteral("-c"), script});
        shell.waitForFinished();
        return shell.readAllStandardOutput();
    }

private Q_SLOTS:
    void controller_versions_are_unknown_until_told()
    {
        Terminal terminal;
        terminal.controller.set_silent(true);
        terminal.start();
        terminal.clear();
        for (const char* name : {"bootloader", "hardware", "unique_device_id"}) {
            QCOMPARE(version(terminal, name), QStringLiteral("No PC Comms"));
            QCOMPARE_ENDS(terminal.output(), "Send No PC Comms\n");
        }
        terminal.send("1600070102");
        QCOMPARE_ENDS(terminal.output(), "Got message 16\nGot version\n");
        terminal.send("1a001fa0ff010203");
        QCOMPARE_ENDS(terminal.output(), "Got message 1a\nGot unique ID: 001FA0FF010203\n");
        QCOMPARE(version(terminal, "bootloader"), QStringLiteral("v2.1.7"));
        QCOMPARE(version(terminal, "unique_device_id"), QStringLiteral("001FA0FF010203"));
        QCOMPARE_CONTAINS(terminal.output(), "Send v2.1.7\nSend 001FA0FF010203\n");
        const QList<QPair<QByteArray, QString>> revisions = {
            {"1200", QStringLiteral("v1.0")}, {"120a", QStringLiteral("v1.0")},
            {"120b", QStringLiteral("v1.1")}, {"1213", QStringLiteral("v1.1")},
            {"1214", QStringLiteral("v2.0")}, {"12ff", QStringLiteral("v2.0")}};
        for (const auto& revision : revisions) {
            terminal.send(revision.first);
            QCOMPARE(version(terminal, "hardware"), revision.second);
        }
    }

    void commands_print_the_others()
    {
        Terminal terminal;
        terminal.start();
        QCOMPARE(version(terminal, "serial_number"), QStringLiteral("1234\n"));
        QCOMPARE(version(terminal, "kernel").toUtf8(),
                 shell_output(QStringLiteral("echo `uname -r`-v7.3")));
        const QByteArray comma = shell_output(QStringLiteral("echo -n -e ,"));
        QCOMPARE(version(terminal, "customer_part_number").toUtf8(),
                 "PN-1\n" + comma + "VP2\n" + comma + "B3\n");
    }

    void standard_error_takes_the_place_of_the_output()
    {
        Terminal terminal;
        terminal.root.remove(QStringLiteral("nv/info/BRAND_CODE"));
        terminal.start();
        QCOMPARE_STARTS(version(terminal, "customer_part_number"), QLatin1String("cat: "));
        QCOMPARE_ENDS(version(terminal, "customer_part_number"), QLatin1Char('\n'));
    }

    void command_that_cannot_start_reads_as_failed()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("bin/only-shell"), "#!/bin/sh\nexit 0\n");
        terminal.daemon.start_program(
            QStringLiteral("/bin/sh"), terminal.root.path(), terminal.bus.address(),
            {QStringLiteral("-c"), QStringLiteral("PATH=/nowhere exec \"$0\" --port \"$1\""),
             Daemon_process::test_program(), terminal.controller.device()});
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(version(terminal, "serial_number"), QStringLiteral("failed to run cmd\n"));
    }

    void text_ends_at_the_first_nul_and_is_utf_8()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("nv/info/SERIAL_NUMBER"), QByteArray("\xc3\xa4"
                                                                                "1\0x",
                                                                                5));
        terminal.start();
        QCOMPARE(version(terminal, "serial_number").toUtf8(), QByteArray("\xc3\xa4"
                                                                         "1"));
    }

    void profile_gives_the_oem_code_data()
    {
        QTest::addColumn<QByteArray>("profile");
        QTest::addColumn<QString>("logged");
        QTest::newRow("3") << QByteArray("<profile><code>3</code></profile>")
                           << QStringLiteral("3");
        QTest::newRow("256 is cut")
            << QByteArray("<profile><code>256</code></profile>") << QStringLiteral("0");
        QTest::newRow("300 is cut")
            << QByteArray("<profile><code> 300x</code></profile>") << QStringLiteral("44");
        QTest::newRow("first counts")
            << QByteArray("<profile><a/><code>7</code><code>8</code></profile>")
            << QStringLiteral("7");
        QTest::newRow("no number")
            << QByteArray("<profile><code>x</code></profile>") << QStringLiteral("255");
        QTest::newRow("no code") << QByteArray("<profile/>") << QStringLiteral("255");
        QTest::newRow("other root")
            << QByteArray("<OEMprofile><code>3</code></OEMprofile>") << QString();
        QTest::newRow("not well-formed") << QByteArray("<profile>") << QString();
        QTest::newRow("missing") << QByteArray() << QString();
    }
    void profile_gives_the_oem_code()
    {
        QFETCH(QByteArray, profile);
        QFETCH(QString, logged);
        Terminal terminal;
        if (!profile.isEmpty())
            terminal.root.write(QStringLiteral("etc/oem_profile.conf"), profile);
        terminal.start();
        const QStringList lines = terminal.log.lines().filter(QStringLiteral("Configured OEM"));
        if (logged.isEmpty())
            QCOMPARE_EMPTY(lines);
        else
            QCOMPARE(lines, QStringList{QStringLiteral("Configured OEM code for this system is ") +
                                        logged});
    }

    void configuration_byte_is_written_read_and_reported()
    {
        Terminal terminal;
        terminal.controller.ignore(0x15); // an unknown firmware is not corrected
        terminal.start();
        terminal.clear();
        terminal.controller.ignore(0x2d);
        const QString path = QStringLiteral("configuration");
        const auto bytes = [](uchar a, uchar b, uchar c) {
            return QVariantList{QVariant::fromValue(a), QVariant::fromValue(b),
                                QVariant::fromValue(c)};
        };
        QCOMPARE(terminal.call(path, QStringLiteral("get")).arguments(), bytes(255, 255, 255));
        terminal.call(path, QStringLiteral("set"), bytes(2, 4, 20));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("2d030414aa01"); }));
        terminal.send("2e00040f");
        QCOMPARE(terminal.call(path, QStringLiteral("get")).arguments(), bytes(255, 4, 15));
        terminal.call(path, QStringLiteral("query"), bytes(2, 4, 0).mid(0, 2));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("2d0304005501"); }));
        terminal.call(path, QStringLiteral("set"), bytes(255, 1, 2));
        terminal.controller.send("\x2e");
        QVERIFY(wait_for([&] { return terminal.controller.has_received("2d000102aa01"); }));
        terminal.settle();
        QCOMPARE(terminal.log.lines(),
                 (QStringList{QStringLiteral("Set Configuration for OEM code 3"),
                              QStringLiteral("Configuration was set"),
                              QStringLiteral("Set Configuration for OEM code 3"),
                              QStringLiteral("Set Configuration for OEM code 256"),
                              QStringLiteral("Configuration was set")}));
        QCOMPARE_EMPTY(terminal.seen_signals());
    }

    void oem_code_is_requested_and_reported()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const QString path = QStringLiteral("oem_profile");
        QCOMPARE(terminal.get(path, QStringLiteral("get_code")).toInt(), 255);
        terminal.controller.ignore(0x3d);
        terminal.call(path, QStringLiteral("set_code"), {QVariant::fromValue(uchar{7})});
        QVERIFY(wait_for([&] { return terminal.controller.has_received("3d07"); }));
        QCOMPARE(terminal.get(path, QStringLiteral("get_code")).toInt(), 255);
        terminal.send("3e09");
        QCOMPARE(terminal.get(path, QStringLiteral("get_code")).toInt(), 9);
        QCOMPARE(terminal.log.lines(), (QStringList{QStringLiteral("Requested OEM code 7"),
                                                    QStringLiteral("OEM code was set to 9")}));
    }
};

QTEST_GUILESS_MAIN(Versions_and_oem)
#include "versions_and_oem.moc"
