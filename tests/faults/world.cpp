// Faults of what surrounds the daemon: its log, its media, its commands, its output.

#include "Expected_objects.h"
#include "Terminal.h"

#include <QDBusPendingCall>
#include <QDir>
#include <QFile>

#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class World : public QObject {
    Q_OBJECT

private:
    static void replace_command(Terminal& terminal, const char* name, const QByteArray& script)
    {
        const QString path = QStringLiteral("bin/") + QLatin1String(name);
        terminal.root.write(path, "#!/bin/sh\n" + script);
        QFile::setPermissions(terminal.root.path(path),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    static QString serial_number(Terminal& terminal)
    {
        return terminal.get(QStringLiteral("version/serial_number"), QStringLiteral("get"))
            .toString();
    }

    static int media_signals(const Terminal& terminal)
    {
        int count = 0;
        for (const Terminal::Signal& signal : terminal.seen_signals())
            count += signal.member == QLatin1String("connection");
        return count;
    }

private Q_SLOTS:
    /// What is logged meanwhile is lost, and what comes later arrives.
    void log_socket_goes_and_returns()
    {
        Terminal terminal;
        terminal.start();
        const QByteArray socket = terminal.root.path(QStringLiteral("log")).toUtf8();
        const QByteArray aside = terminal.root.path(QStringLiteral("gone")).toUtf8();
        QCOMPARE(std::rename(socket.constData(), aside.constData()), 0);
        terminal.controller.send(QByteArray::fromHex("40"));
        QVERIFY(wait_for([&] { return terminal.daemon.output().contains("Got message 40\n"); }));
        terminal.get(QStringLiteral("atx"), QStringLiteral("none")); // comes back behind it
        QCOMPARE(std::rename(aside.constData(), socket.constData()), 0);
        terminal.log.clear();
        terminal.send("40");
        QVERIFY(wait_for([&] { return !terminal.log.lines().isEmpty(); }));
        QCOMPARE(terminal.log.lines(), QStringList{QStringLiteral("ATX acknowledge received")});
        QVERIFY(terminal.ends_cleanly());
    }

    /// The watch ends with its directory; a call still scans the one that has taken its place.
    void media_directory_is_replaced()
    {
        Terminal terminal;
        terminal.root.make_directory(QStringLiteral("media/usb0"));
        terminal.start();
        terminal.root.remove(QStringLiteral("media"));
        WAIT_UNTIL(media_signals(terminal), >=, 1);
        terminal.root.make_directory(QStringLiteral("media/usb1"));
        const QString media = terminal.root.path(QStringLiteral("media")) + QLatin1Char('/');
        terminal.call(QStringLiteral("media"), QStringLiteral("media_changed"), {media});
        terminal.settle();
        const Terminal::Signal added = {QStringLiteral("media"),
                                        QStringLiteral("connection"),
                                        {media + QStringLiteral("usb1"), true}};
        QCOMPARE_CONTAINS(terminal.seen_signals(), added);
        QVERIFY(terminal.ends_cleanly());
    }

    void very_many_media()
    {
        constexpr int count = 3000;
        Terminal terminal;
        terminal.start();
        const QDir tmp(terminal.root.path(QStringLiteral("tmp")));
        for (int i = 0; i < count; ++i)
            QVERIFY(tmp.mkdir(QStringLiteral("usb%1").arg(i)));
        terminal.call(QStringLiteral("media"), QStringLiteral("media_changed"),
                      {tmp.path() + QLatin1Char('/')});
        WAIT_UNTIL(media_signals(terminal), ==, count);
        QVERIFY(terminal.ends_cleanly());
    }

    /// Nobody could be told of it: it is no medium, and the others are.
    void name_of_a_medium_is_no_text()
    {
        Terminal terminal;
        terminal.start();
        const QByteArray media = terminal.root.path(QStringLiteral("media")).toUtf8();
        const QByteArray odd = media + "/usb\xff\n";
        QCOMPARE(::mkdir(odd.constData(), 0700), 0);
        QCOMPARE(::mkdir((media + "/usb1").constData(), 0700), 0);
        WAIT_UNTIL(media_signals(terminal), ==, 1);
        terminal.settle();
        QCOMPARE(media_signals(terminal), 1);
        QVERIFY(terminal.ends_cleanly());
        QCOMPARE(::rmdir(odd.constData()), 0);
    }

    void command_prints_a_megabyte()
    {
        Terminal terminal;
        replace_command(terminal, "cat", "head -c 1000000 /dev/zero | tr '\\0' x\n");
        terminal.start();
        QCOMPARE(serial_number(terminal).size(), 1000000);
        QVERIFY(terminal.ends_cleanly());
    }

    void command_fails()
    {
        Terminal terminal;
        replace_command(terminal, "cat", "echo broken >&2; exit 127\n");
        terminal.start();
        QCOMPARE(serial_number(terminal), QStringLiteral("broken\n"));
        QVERIFY(terminal.ends_cleanly());
    }

    void command_cannot_be_started()
    {
        Terminal terminal;
        replace_command(terminal, "cat", {});
        terminal.root.write(QStringLiteral("bin/cat"), "\x7f"
                                                       "ELF");
        terminal.start();
        QCOMPARE(serial_number(terminal), QStringLiteral("failed to run cmd\n"));
        QVERIFY(terminal.ends_cleanly());
    }

    void system_cannot_be_switched_off_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("refused") << QByteArray("#!/bin/sh\nexit 1\n");
        QTest::newRow("killed") << QByteArray("#!/bin/sh\nkill -9 $$\n");
        QTest::newRow("no program") << QByteArray("\x7f"
                                                  "ELF");
    }
    void system_cannot_be_switched_off()
    {
        QFETCH(QByteArray, script);
        Terminal terminal;
        replace_command(terminal, "systemctl", {});
        terminal.root.write(QStringLiteral("bin/systemctl"), script);
        terminal.start();
        terminal.log.clear();
        const QString system = QStringLiteral("device/system/power");
        QCOMPARE(terminal.get(system, QStringLiteral("suspend")), QVariant(0));
        QVERIFY(terminal.get(system, QStringLiteral("is_suspended")).toBool());
        QCOMPARE(terminal.log.lines(), QStringList{QStringLiteral("System => OFF")});
        QVERIFY(terminal.ends_cleanly());
    }

    /// The call is answered, and then the daemon ends.
    void signal_while_the_system_is_switched_off()
    {
        Terminal terminal;
        replace_command(terminal, "systemctl",
                        "cd \"$DOV_TEST_ROOT\"\n"
                        ": > called\n"
                        "while [ ! -e signalled ]; do sleep 0.01; done\n");
        terminal.start();
        const QString system = QStringLiteral("device/system/power");
        QDBusMessage suspend = QDBusMessage::createMethodCall(
            QStringLiteral("com.quorin.system"), QStringLiteral("/com/quorin/system/") + system,
            terminal.interface_of(system), QStringLiteral("suspend"));
        const QDBusPendingCall call = terminal.connection().asyncCall(suspend);
        QVERIFY(
            wait_for([&] { return QFile::exists(terminal.root.path(QStringLiteral("called"))); }));
        const QString logged = QStringLiteral("System => OFF");
        QVERIFY(wait_for([&] { return terminal.log.lines().contains(logged); }));
        terminal.daemon.signal(SIGINT); // which system() would discard
        terminal.root.write(QStringLiteral("signalled"), "");
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QVERIFY(wait_for([&] { return call.isFinished(); }));
        QCOMPARE(call.reply().arguments(), QVariantList{0});
        QCOMPARE(terminal.log.lines().filter(QStringLiteral("Exiting")).size(), 1);
    }

    /// Text waits for its reader and nothing of it is lost; the end does not wait for good.
    void output_is_read_slowly()
    {
        int ends[2];
        QVERIFY(pipe2(ends, O_CLOEXEC) == 0);
        fcntl(ends[1], F_SETPIPE_SZ, 4096);
        Terminal terminal;
        terminal.daemon.redirect(STDOUT_FILENO, ends[1]);
        terminal.launch();
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        QByteArray text;
        const auto read_some = [&] {
            char bytes[512];
            const ssize_t count = ::read(ends[0], bytes, sizeof bytes);
            text.append(bytes, static_cast<int>(std::max<ssize_t>(count, 0)));
            return text.contains("Periodic\n");
        };
        QVERIFY(wait_for(read_some));
        QCOMPARE_STARTS(text, "Bah\nGot --port\n");
        QCOMPARE(text.count("Path: "), static_cast<int>(std::size(expected_objects)));
        // From here on nobody reads.
        for (int i = 0; i < 500; ++i)
            terminal.controller.send(QByteArray::fromHex("1000"));
        QVERIFY(terminal.ends_cleanly());
        ::close(ends[0]);
        ::close(ends[1]);
    }
};

QTEST_GUILESS_MAIN(World)
#include "world.moc"
