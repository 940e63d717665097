// SIGTERM, SIGINT and SIGHUP, one or two at once, at any moment of start-up, run and end: exit
// status 0, and one line about it in the log.

#include "Terminal.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class Quit_signals : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// The event loop has ended: the buzzer's end waits for a command, which waits for the test.
    void come_while_objects_are_deleted()
    {
        Terminal terminal;
        const QByteArray fifo = QFile::encodeName(terminal.root.path(QStringLiteral("gate")));
        QCOMPARE(mkfifo(fifo.constData(), 0600), 0);
        terminal.root.write(QStringLiteral("bin/rm"), "#!/bin/sh\nread line <'" + fifo + "'\n");
        QFile::setPermissions(terminal.root.path(QStringLiteral("bin/rm")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        terminal.start();
        terminal.daemon.signal(SIGTERM);
        // Opens when the command has opened its end.
        int gate = -1;
        QVERIFY(wait_for([&] {
            gate = ::open(fifo.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            return gate >= 0;
        }));
        for (const int number : {SIGINT, SIGHUP, SIGTERM})
            terminal.daemon.signal(number);
        ::close(gate);
        QVERIFY(terminal.daemon.wait_for_end());
        QVERIFY(terminal.has_ended_once());
        const QByteArray text = terminal.daemon.output();
        for (const int number : {SIGINT, SIGHUP}) {
            const QByteArray line = "\nQuit signal got " + QByteArray::number(number) + '\n';
            QVERIFY2(text.count(line) == 1, text);
        }
        QVERIFY2(text.count("\nQuit signal got 15\n") == 2, text);
    }

    void end_it_once_at_any_moment_data()
    {
        QTest::addColumn<int>("moment");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("second");
        constexpr int signals_to_quit[] = {SIGTERM, SIGINT, SIGHUP};
        constexpr int moments = 50;
        QRandomGenerator random(50);
        for (int i = 0; i < moments; ++i)
            QTest::addRow("%d", i)
                << static_cast<int>(random.bounded(600)) << signals_to_quit[random.bounded(3)]
                << signals_to_quit[random.bounded(3)];
    }

    void end_it_once_at_any_moment()
    {
        QFETCH(const int, moment);
        QFETCH(const int, first);
        QFETCH(const int, second);
        Terminal terminal;
        terminal.launch();
        // The first text: from then on the signals are held back until they can be handled.
        QVERIFY(wait_for([&] { return terminal.daemon.output().startsWith("Bah\n"); }));
        QElapsedTimer since;
        since.start();
        QVERIFY(wait_for([&] { return since.elapsed() >= moment; }));
        terminal.daemon.signal(first);
        terminal.daemon.signal(second);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        QCOMPARE(terminal.daemon.output().count("Quiting\n"), 1);
        QVERIFY(wait_for(
            [&] { return terminal.log.lines().filter(QStringLiteral("Exiting")).size() == 1; }));
    }
};

QTEST_GUILESS_MAIN(Quit_signals)
#include "quit_signals.moc"
