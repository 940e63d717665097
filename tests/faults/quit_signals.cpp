// SIGTERM, SIGINT and SIGHUP, one or two at once, at any moment of start-up, run and end: exit
// status 0, and one line about it in the log.

#include "Terminal.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <csignal>

class Quit_signals : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
