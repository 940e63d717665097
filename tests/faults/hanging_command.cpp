// A command of the version objects that does not end: start-up waits 30 seconds for it, and then
// goes on.

#include "Terminal.h"

#include <QElapsedTimer>
#include <QFile>

#include <csignal>

class Hanging_command : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void delays_the_start_up()
    {
        constexpr qint64 least_delay_ms = 29000;
        Terminal terminal;
        const QString command = QStringLiteral("bin/cat");
        terminal.root.write(command, "#!/bin/sh\ncase $1 in\n*SERIAL*) exec sleep 60 ;;\n"
                                     "*) exec /bin/cat \"$@\" ;;\nesac\n");
        QFile::setPermissions(terminal.root.path(command),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QElapsedTimer clock;
        clock.start();
        terminal.launch();
        // Twice the patience: the delay is as long as it.
        QVERIFY(terminal.wait_until_started() || terminal.wait_until_started());
        QCOMPARE_GT(clock.elapsed(), least_delay_ms);
        QCOMPARE(
            terminal.get(QStringLiteral("version/serial_number"), QStringLiteral("get")).toString(),
            QStringLiteral("failed to run cmd\n"));
        QVERIFY(!terminal.get(QStringLiteral("version/kernel"), QStringLiteral("get"))
                     .toString()
                     .startsWith(QLatin1String("failed")));
        terminal.daemon.signal(SIGTERM);
        QVERIFY(terminal.daemon.wait_for_end());
        QCOMPARE(terminal.daemon.exit_status(), 0);
    }
};

QTEST_GUILESS_MAIN(Hanging_command)

#include "hanging_command.moc"
