// Signals by the thousand, of every kind that a process has to take.

#include "Terminal.h"

#include <csignal>

class Signals : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// What means nothing to the daemon loses nothing: frames and calls go on in between.
    void storm_that_means_nothing_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGCHLD") << SIGCHLD;
        QTest::newRow("SIGPIPE") << SIGPIPE;
        QTest::newRow("SIGWINCH") << SIGWINCH;
        QTest::newRow("SIGURG") << SIGURG;
        QTest::newRow("SIGCONT") << SIGCONT;
        QTest::newRow("SIGXFSZ") << SIGXFSZ;
    }
    void storm_that_means_nothing()
    {
        QFETCH(const int, number);
        Terminal terminal;
        terminal.start();
        terminal.clear();
        for (int round = 0; round < 100; ++round) {
            for (int i = 0; i < 1000; ++i)
                terminal.daemon.signal(number);
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
        }
        QCOMPARE(terminal.output().count("Got message 1e\n"), 100);
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QVERIFY(terminal.has_ended_once());
    }

    void stopped_and_continued_a_thousand_times()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        for (int round = 0; round < 1000; ++round) {
            terminal.daemon.signal(SIGSTOP);
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
            terminal.daemon.signal(SIGCONT);
        }
        QCOMPARE(terminal.output().count("Got message 1e\n"), 1000);
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QVERIFY(terminal.has_ended_once());
    }

    /// Never a pause between two signals, to the very end.
    void storm_of_signals_to_quit()
    {
        Terminal terminal;
        terminal.start();
        QVERIFY(wait_for([&] {
            for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
                for (int i = 0; i < 1000; ++i)
                    terminal.daemon.signal(number);
            }
            return !terminal.daemon.is_running();
        }));
        QVERIFY(terminal.has_ended_once());
    }
};

QTEST_GUILESS_MAIN(Signals)
#include "signals.moc"
