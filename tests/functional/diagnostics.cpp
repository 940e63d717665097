// How the texts leave the program: line by line, one write each, the same in every locale.

#include "Terminal.h"

#include <climits>

#include <fcntl.h>
#include <unistd.h>

class Diagnostics : public QObject {
    Q_OBJECT

private:
    /// A pipe that keeps what each write has written apart from the next.
    class Packet_pipe {
    public:
        Packet_pipe()
        {
            if (pipe2(ends_, O_DIRECT | O_CLOEXEC) != 0)
                qFatal("no pipe");
            fcntl(ends_[0], F_SETFL, O_NONBLOCK);
        }
        ~Packet_pipe()
        {
            close(ends_[0]);
            close(ends_[1]);
        }

        int write_end() const { return ends_[1]; }

        /// The writes since the last call.
        QList<QByteArray> take()
        {
            QList<QByteArray> packets;
            char bytes[65536];
            for (;;) {
                const ssize_t size = read(ends_[0], bytes, sizeof bytes);
                if (size <= 0)
                    return packets;
                packets.append(QByteArray(bytes, static_cast<int>(size)));
            }
        }

    private:
        int ends_[2] = {-1, -1};
    };

    /// The writes to a stream while messages of every kind of text arrive.
    static QList<QByteArray> writes_to(int stream)
    {
        Packet_pipe pipe;
        Terminal terminal;
        terminal.daemon.redirect(stream, pipe.write_end());
        terminal.controller.set_silent(true);
        terminal.launch();
        // The pipe is small and start-up prints much.
        QList<QByteArray> seen;
        const auto has_come = [&](const char* text) {
            return wait_for([&] {
                seen += pipe.take();
                return seen.join().contains(text);
            });
        };
        const char* last = stream == STDOUT_FILENO ? "Got message 28\n" : "Updated val=3 Changed\n";
        const bool started = wait_for([&] {
            seen += pipe.take();
            return terminal.log.lines().contains(QLatin1String("Switching power state: null=>on"));
        });
        for (const char* message : {"100100000000f0", "36020bb809c40032", "1e0bb8", "2809080706"})
            terminal.controller.send(QByteArray::fromHex(message));
        terminal.controller.send(QByteArray::fromHex("280303030303"));
        if (!started || !has_come(last))
            report::give_up("the texts do not come");
        return seen;
    }

    /// A locale below "tmp" in which numbers have a comma; no machine is sure to have one.
    static void make_comma_locale(const Test_root& root)
    {
        QByteArray characters = "<code_set_name> PLAIN\n<mb_cur_max> 1\nCHARMAP\n";
        for (int i = 0; i < 128; ++i) {
            const QByteArray code = QByteArray::number(i, 16).rightJustified(2, '0');
            characters += "<U00" + code.toUpper() + "> /x" + code + "\n";
        }
        root.write(QStringLiteral("tmp/characters"), characters + "END CHARMAP\n");
        root.write(QStringLiteral("tmp/source"),
                   "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\ngrouping -1\n"
                   "END LC_NUMERIC\n");
        QProcess definition;
        definition.start(QStringLiteral("localedef"),
                         {QStringLiteral("-c"), QStringLiteral("-i"),
                          root.path(QStringLiteral("tmp/source")), QStringLiteral("-f"),
                          root.path(QStringLiteral("tmp/characters")),
                          root.path(QStringLiteral("tmp/comma"))});
        definition.waitForFinished();
        if (!QFile::exists(root.path(QStringLiteral("tmp/comma/LC_NUMERIC"))))
            qFatal("cannot make a locale");
    }

private Q_SLOTS:
    void a_shared_pipe_keeps_blocking_the_others()
    {
        Packet_pipe pipe;
        Terminal terminal;
        terminal.daemon.redirect(STDERR_FILENO, pipe.write_end());
        terminal.start();
        QCOMPARE(fcntl(pipe.write_end(), F_GETFL) & O_NONBLOCK, 0);
    }

    void a_line_leaves_as_one_write_data()
    {
        QTest::addColumn<int>("stream");
        QTest::newRow("standard output") << STDOUT_FILENO;
        QTest::newRow("standard error") << STDERR_FILENO;
    }
    void a_line_leaves_as_one_write()
    {
        QFETCH(int, stream);
        const QList<QByteArray> writes = writes_to(stream);
        QCOMPARE_LE(writes.size(), writes.join().count('\n'));
        for (const QByteArray& text : writes) {
            // Long texts leave in the pieces that a pipe takes at once.
            if (text.size() < PIPE_BUF)
                QCOMPARE_ENDS(text, '\n');
        }
    }

    void numbers_have_a_point_in_every_locale()
    {
        Terminal terminal;
        make_comma_locale(terminal.root);
        terminal.daemon.set_environment(QStringLiteral("LOCPATH"),
                                        terminal.root.path(QStringLiteral("tmp")));
        terminal.daemon.set_environment(QStringLiteral("LC_ALL"), QString());
        terminal.daemon.set_environment(QStringLiteral("LC_NUMERIC"), QStringLiteral("comma"));
        terminal.start();
        terminal.clear();
        terminal.call(QStringLiteral("device/buzzer"), QStringLiteral("set_volume"), {1234.5});
        terminal.send("1e09c4");
        terminal.send("32fe");
        const QByteArray text = terminal.output();
        QCOMPARE_CONTAINS(text, "BUZ volume set to 1234.500000\n");
        QCOMPARE_CONTAINS(text, "ARAW: 1E09C40000000000: 2.500\n");
        QCOMPARE_CONTAINS(text, ": 100.000\n");
        QCOMPARE_CONTAINS(terminal.errors(), "Updated val=2.5 ");
    }

    void a_locale_without_utf8_is_nobodys_business()
    {
        Terminal terminal;
        terminal.daemon.set_environment(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        terminal.start();
        QVERIFY2(!terminal.errors().contains("locale"), terminal.errors().constData());
    }

    void numbers_in_the_log_are_plain()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("etc/power_manage.conf"),
                            "<power><state name=\"low-power\"><param name=\"timeout\">2147483647"
                            "</param></state><state name=\"sleep\"><param name=\"timeout\">-5"
                            "</param></state></power>");
        terminal.start();
        QCOMPARE_CONTAINS(terminal.log.lines(),
                          QLatin1String("Timeout for low-power is 2147483647"));
        QCOMPARE_CONTAINS(terminal.log.lines(), QLatin1String("Timeout for sleep is -5"));
        for (const QString& datagram : terminal.log.datagrams()) {
            QCOMPARE_STARTS(datagram, QLatin1String("<30>orb-dbus: "));
            QCOMPARE_ENDS(datagram, QLatin1Char('\n'));
            QCOMPARE(datagram.count(QLatin1Char('\n')), 1);
        }
    }
};

QTEST_GUILESS_MAIN(Diagnostics)
#include "diagnostics.moc"
