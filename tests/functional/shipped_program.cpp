// The program as it is shipped, as far as its options start nothing; real_paths.cpp has the rest.

#include "Terminal.h"

class Shipped_program : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void options_that_start_nothing_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("output");
        const QByteArray usage = "Usage: --help [--simulate] [--help]\n"
                                 "    --simulate  Simulate PIC\n"
                                 "    --help      This help\n";
        QTest::newRow("help") << QStringList{QStringLiteral("--help")} << "Got --help\n" + usage;
        QTest::newRow("help as a value")
            << QStringList{QStringLiteral("--port"), QStringLiteral("--help")}
            << "Got --port\nGot --help\n" + usage;
        QTest::newRow("help after the simulator")
            << QStringList{QStringLiteral("--simulate"), QStringLiteral("--help")}
            << "Got --simulate\nGot --help\n" + usage;
        QTest::newRow("bare word")
            << QStringList{QStringLiteral("word")} << QByteArray("Got word\nDBus\n");
        QTest::newRow("zero baud rate")
            << QStringList{QStringLiteral("--baudrate"), QStringLiteral("0")}
            << QByteArray("Got --baudrate\nGot 0\nDBus\n");
    }
    void options_that_start_nothing()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, output);
        Terminal terminal;
        terminal.daemon.start_program(Daemon_process::shipped_program(), terminal.root.path(),
                                      terminal.bus.address(), arguments);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
        // A configuration of the machine's own would print what it lacks behind.
        QCOMPARE_STARTS(terminal.daemon.output(), "Bah\n" + output);
        QCOMPARE_LACKS(terminal.daemon.output(), "Periodic");
    }
};

QTEST_GUILESS_MAIN(Shipped_program)
#include "shipped_program.moc"
