// What else may be behind the name of the line.

#include "Terminal.h"

#include <QFile>

#include <csignal>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

class Devices : public QObject {
    Q_OBJECT

private:
    /// Starts the daemon on any file.
    static void start(Terminal& terminal, const QString& port)
    {
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), port});
        QVERIFY(wait_for([&] { return terminal.serves(); }));
    }

    static QString make_socket(const Terminal& terminal)
    {
        QString path = terminal.root.path(QStringLiteral("dev/socket"));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path.toLocal8Bit().constData(), sizeof address.sun_path);
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            qFatal("no socket");
        ::close(socket);
        return path;
    }

private Q_SLOTS:
    void device_that_is_none_data()
    {
        QTest::addColumn<QString>("port");
        QTest::newRow("nothing ever") << QStringLiteral("/dev/null");
        QTest::newRow("zeros without end") << QStringLiteral("/dev/zero");
        QTest::newRow("any bytes without end") << QStringLiteral("/dev/urandom");
        QTest::newRow("no room for a byte") << QStringLiteral("/dev/full");
        QTest::newRow("a terminal's other end") << QStringLiteral("/dev/ptmx");
        QTest::newRow("its own standard output") << QStringLiteral("/proc/self/fd/1");
        QTest::newRow("no name") << QStringLiteral("");
        QTest::newRow("a name too long") << QString(5000, QLatin1Char('x'));
        QTest::newRow("below a file") << QStringLiteral("/dev/null/line");
    }
    void device_that_is_none()
    {
        QFETCH(const QString, port);
        Terminal terminal;
        start(terminal, port);
        QVERIFY(terminal.ends_cleanly());
    }

    void socket_takes_the_place()
    {
        Terminal terminal;
        start(terminal, make_socket(terminal));
        QVERIFY(terminal.ends_cleanly());
    }

    /// What it writes comes back to it: the reader takes it for frames with wrong addresses, none
    /// of which answers anything.
    void plug_that_leads_back_takes_the_place()
    {
        Terminal terminal;
        const QString path = terminal.root.path(QStringLiteral("dev/fifo"));
        QCOMPARE(mkfifo(path.toLocal8Bit().constData(), 0600), 0);
        start(terminal, path);
        terminal.call(QStringLiteral("device/operating_voltage"),
                      QStringLiteral("set_operating_voltage"), {3U});
        const auto heard = [&] {
            return terminal.daemon.output().count(
                "Src/Dest test failed 78:59 59:78\nGot message  d\n"
                "Unhandled message default\n");
        };
        WAIT_UNTIL(heard(), >=, 2); // what the start has set, and this
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    /// What is written goes where the reader is, on top of what is there.
    void file_takes_the_place()
    {
        Terminal terminal;
        const QByteArray frame = Fake_controller::frame(QByteArray::fromHex("1e0bb8"));
        terminal.root.write(QStringLiteral("dev/file"), frame.repeated(1000));
        start(terminal, terminal.root.path(QStringLiteral("dev/file")));
        QVERIFY(terminal.ends_cleanly());
    }

    void link_to_itself_takes_the_place()
    {
        Terminal terminal;
        const QString path = terminal.root.path(QStringLiteral("dev/line"));
        QVERIFY(QFile::link(path, path));
        start(terminal, path);
        QVERIFY(terminal.ends_cleanly());
    }
};

QTEST_GUILESS_MAIN(Devices)
#include "devices.moc"
