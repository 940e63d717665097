// Standard streams that are closed, limited, or led to somebody who does not read.

#include "Pseudo_terminal.h"
#include "Terminal.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

class Streams : public QObject {
    Q_OBJECT

private:
    /// Starts it by a shell script, of which $0 is the program and $1 the device.
    static void start_by(const QString& script, Terminal& terminal)
    {
        terminal.daemon.start_program(QStringLiteral("/bin/sh"), terminal.root.path(),
                                      terminal.bus.address(),
                                      {QStringLiteral("-c"), script, Daemon_process::test_program(),
                                       terminal.controller.device()});
    }

    static QString serial_number(Terminal& terminal)
    {
        return terminal.get(QStringLiteral("version/serial_number"), QStringLiteral("get"))
            .toString();
    }

    static std::pair<int, int> make_sockets()
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            qFatal("no sockets");
        const int size = 16384;
        setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
        return {ends[0], ends[1]};
    }

    /// Waits until no more text comes, for now.
    static void wait_until_still(int reader)
    {
        int before = 0;
        QElapsedTimer since;
        since.start();
        wait_for([&] {
            int waiting = 0;
            ioctl(reader, FIONREAD, &waiting);
            if (waiting != before)
                since.start();
            before = waiting;
            return waiting > 0 && since.hasExpired(200);
        });
    }

    static void fill(Terminal& terminal, int reader, int output, int frames)
    {
        terminal.daemon.redirect(STDOUT_FILENO, output);
        terminal.daemon.redirect(STDERR_FILENO, output);
        terminal.launch();
        QVERIFY(wait_for([&] { return !terminal.log.lines().isEmpty(); }));
        for (int i = 0; i < frames; ++i)
            terminal.controller.send(QByteArray::fromHex("1000"));
        wait_until_still(reader);
    }

    /// The daemon fills its output, and ends all the same.
    static void fills_and_ends(int reader, int output, int frames)
    {
        Terminal terminal;
        fill(terminal, reader, output, frames);
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
    }

    static QString main_thread(const Terminal& terminal)
    {
        return QStringLiteral("/proc/%1").arg(terminal.daemon.pid());
    }

    /// Threads but for the main one that take a signal.
    static QStringList other_threads(const Terminal& terminal, int signal)
    {
        const QDir tasks(main_thread(terminal) + QStringLiteral("/task"));
        QStringList threads = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        threads.removeAll(QString::number(terminal.daemon.pid()));
        const auto is_deaf = [&](const QString& id) {
            return holds_back(tasks.filePath(id), signal);
        };
        threads.erase(std::remove_if(threads.begin(), threads.end(), is_deaf), threads.end());
        return threads;
    }

    /// Whether a thread does, of which this is the directory.
    static bool holds_back(const QString& thread, int signal)
    {
        QFile status(thread + QStringLiteral("/status"));
        if (!status.open(QIODevice::ReadOnly))
            return false;
        const QList<QByteArray> lines = status.readAll().split('\n');
        const auto is_mask = [](const QByteArray& line) { return line.startsWith("SigBlk:"); };
        const auto mask = std::find_if(lines.begin(), lines.end(), is_mask);
        return mask != lines.end() &&
               (mask->mid(7).trimmed().toULongLong(nullptr, 16) >> (signal - 1) & 1) != 0;
    }

private Q_SLOTS:
    /// No file that is opened later gets the number of one, and no text reaches the line.
    void closed_at_the_start_data()
    {
        QTest::addColumn<QString>("closed");
        QTest::newRow("input") << "<&-";
        QTest::newRow("output") << ">&-";
        QTest::newRow("errors") << "2>&-";
        QTest::newRow("input and output") << "<&- >&-";
        QTest::newRow("input and errors") << "<&- 2>&-";
        QTest::newRow("output and errors") << ">&- 2>&-";
        QTest::newRow("all") << "<&- >&- 2>&-";
    }
    void closed_at_the_start()
    {
        QFETCH(const QString, closed);
        Terminal terminal;
        start_by(QStringLiteral("exec \"$0\" --port \"$1\" ") + closed, terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
        QVERIFY(wait_for([&] { return terminal.controller.has_received("3500"); }));
        QCOMPARE(terminal.controller.received().size(), terminal.controller.requests().size() * 13);
    }

    /// What is written beyond the limit is a signal to the process and an error to the call.
    void files_may_not_grow()
    {
        Terminal terminal;
        start_by(QStringLiteral("ulimit -f 4; exec \"$0\" --port \"$1\" >\"$DOV_TEST_ROOT/text\""),
                 terminal);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
        QFile text(terminal.root.path(QStringLiteral("text")));
        QVERIFY(text.open(QIODevice::ReadOnly));
        QCOMPARE_STARTS(text.readAll(), "Bah\n");
    }

    /// The text waits for who would read it; the end does not. How much room is left when the
    /// writer has to stop depends on what it has written before.
    void output_that_nobody_reads_data()
    {
        QTest::addColumn<bool>("is_terminal");
        QTest::addColumn<int>("frames");
        QTest::newRow("socket") << false << 100;
        for (const int frames : {68, 136, 153, 221, 323, 391, 408, 425})
            QTest::addRow("terminal, %d frames", frames) << true << frames;
    }
    void output_that_nobody_reads()
    {
        QFETCH(const bool, is_terminal);
        QFETCH(const int, frames);
        if (is_terminal) {
            const Pseudo_terminal screen(Pseudo_terminal::Mode::as_it_comes);
            fills_and_ends(screen.own(), screen.other(), frames);
            return;
        }
        const auto [reader, output] = make_sockets();
        fills_and_ends(reader, output, frames);
        ::close(reader);
        ::close(output);
    }

    /// The signal does not interrupt the thread that waits for room.
    void output_that_nobody_reads_and_a_signal_to_another_thread()
    {
        const auto [reader, output] = make_sockets();
        Terminal terminal;
        fill(terminal, reader, output, 100);
        const QStringList others = other_threads(terminal, SIGTERM);
        QVERIFY(!others.isEmpty());
        QCOMPARE(syscall(SYS_tgkill, terminal.daemon.pid(), others.first().toInt(), SIGTERM), 0L);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        ::close(reader);
        ::close(output);
    }

    /// Not even the first line finds room.
    void output_that_is_full_from_the_start()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_CLOEXEC), 0);
        const QByteArray block(fcntl(ends[1], F_GETPIPE_SZ), 'x');
        QCOMPARE(::write(ends[1], block.constData(), static_cast<std::size_t>(block.size())),
                 ssize_t{block.size()});
        Terminal terminal;
        terminal.daemon.redirect(STDOUT_FILENO, ends[1]);
        terminal.launch();
        QVERIFY(wait_for([&] { return holds_back(main_thread(terminal), SIGTERM); }));
        QVERIFY(terminal.ends_cleanly());
        ::close(ends[0]);
        ::close(ends[1]);
    }

    /// The signal has been taken already when the last texts find no room.
    void output_that_is_full_at_the_end()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_CLOEXEC), 0);
        Terminal terminal;
        terminal.daemon.redirect(STDOUT_FILENO, ends[1]);
        terminal.launch();
        QVERIFY(terminal.wait_until_started());
        const QByteArray same_pipe = "/proc/self/fd/" + QByteArray::number(ends[1]);
        const int filler = ::open(same_pipe.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        QVERIFY(filler >= 0);
        while (::write(filler, "x", 1) == 1) {
        }
        QVERIFY(terminal.ends_cleanly());
        ::close(filler);
        ::close(ends[0]);
        ::close(ends[1]);
    }

    /// The daemon waits for the log, as everybody who writes to it, and nothing is lost.
    void log_that_is_read_late()
    {
        constexpr int lines = 50; // more than wait for a reader
        Terminal terminal;
        terminal.start();
        const QByteArray path = QFile::encodeName(terminal.root.path(QStringLiteral("log")));
        QCOMPARE(std::rename(path.constData(), (path + ".aside").constData()), 0);
        const int log = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        QCOMPARE(bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        for (int i = 0; i < lines; ++i)
            terminal.controller.send(QByteArray::fromHex("40"));
        terminal.controller.wait_until_taken();
        int count = 0;
        char text[256];
        QVERIFY(wait_for([&] {
            while (::recv(log, text, sizeof text, 0) > 0)
                ++count;
            return count == lines;
        }));
        ::close(log);
        QCOMPARE(std::rename((path + ".aside").constData(), path.constData()), 0);
        QVERIFY(terminal.ends_cleanly());
    }

    void reader_of_the_output_goes()
    {
        const auto [reader, output] = make_sockets();
        Terminal terminal;
        terminal.daemon.redirect(STDOUT_FILENO, output);
        terminal.launch();
        ::close(reader);
        QVERIFY(terminal.wait_until_started());
        QCOMPARE(serial_number(terminal), QStringLiteral("1234\n"));
        QVERIFY(terminal.ends_cleanly());
        ::close(output);
    }
};

QTEST_GUILESS_MAIN(Streams)
#include "streams.moc"
