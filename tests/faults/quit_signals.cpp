// SIGTERM, SIGINT and SIGHUP, one or two at once, at any moment of start-up, run and end: exit
// status 0, and one line about it in the log.

#include "Terminal.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A moment after a daemon's first text, and the signals that it gets then.
struct Moment {
    int msecs;
    int first;
    int second;
};

/// A daemon that is told to quit at a moment.
struct Ended_daemon {
    explicit Ended_daemon(const Moment& when) : moment(when) { terminal.launch(); }

    /// Tells it when the moment has come; whether it has.
    bool has_been_told()
    {
        // The first text: from then on the signals are held back until they can be handled.
        if (!since.isValid() && terminal.daemon.output().startsWith("Bah\n"))
            since.start();
        if (is_told || !since.isValid() || since.elapsed() < moment.msecs)
            return is_told;
        terminal.daemon.signal(moment.first);
        terminal.daemon.signal(moment.second);
        return is_told = true;
    }

    Terminal terminal;
    Moment moment;
    QElapsedTimer since;
    bool is_told = false;
};

} // namespace

Q_DECLARE_METATYPE(QVector<Moment>)

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
        QTest::addColumn<QVector<Moment>>("moments");
        constexpr int signals_to_quit[] = {SIGTERM, SIGINT, SIGHUP};
        constexpr int groups = 10;
        constexpr int side_by_side = 5;
        QRandomGenerator random(50);
        for (int group = 0; group < groups; ++group) {
            QVector<Moment> moments;
            for (int i = 0; i < side_by_side; ++i) {
                const auto msecs = static_cast<int>(random.bounded(600));
                const int first = signals_to_quit[random.bounded(3)];
                moments.append({msecs, first, signals_to_quit[random.bounded(3)]});
            }
            QTest::addRow("%d", group) << moments;
        }
    }

    void end_it_once_at_any_moment()
    {
        QFETCH(const QVector<Moment>, moments);
        std::vector<std::unique_ptr<Ended_daemon>> daemons;
        for (const Moment& moment : moments)
            daemons.push_back(std::make_unique<Ended_daemon>(moment));
        QVERIFY(wait_for([&daemons] {
            return std::all_of(daemons.begin(), daemons.end(),
                               [](const auto& daemon) { return daemon->has_been_told(); });
        }));
        for (const auto& daemon : daemons) {
            Terminal& terminal = daemon->terminal;
            QVERIFY(terminal.daemon.wait_for_end());
            QCOMPARE(terminal.daemon.exit_status(), 0);
            QCOMPARE(terminal.daemon.output().count("Quiting\n"), 1);
            QVERIFY(wait_for([&] {
                return terminal.log.lines().filter(QStringLiteral("Exiting")).size() == 1;
            }));
        }
    }
};

QTEST_GUILESS_MAIN(Quit_signals)
#include "quit_signals.moc"
