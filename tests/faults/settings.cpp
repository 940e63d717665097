// The line as others leave it: its settings are changed from outside, its device is not what it
// was.

#include "Terminal.h"

#include <QFile>

#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

class Settings : public QObject {
    Q_OBJECT

private:
    /// Another process that has the line open.
    class Other {
    public:
        explicit Other(const Terminal& terminal)
            : line_(::open(terminal.controller.device().toLatin1().constData(),
                           O_RDWR | O_NOCTTY | O_CLOEXEC))
        {
            tcgetattr(line_, &as_found_);
        }
        ~Other() { ::close(line_); }

        int line() const { return line_; }

        template <class Change>
        void change(Change change) const
        {
            termios settings = as_found_;
            change(settings);
            tcsetattr(line_, TCSANOW, &settings);
        }

        void put_back() const { tcsetattr(line_, TCSANOW, &as_found_); }

    private:
        int line_;
        termios as_found_{};
    };

private Q_SLOTS:
    /// What makes no difference to the bytes makes none to the daemon.
    void other_speed_and_parity()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const Other other(terminal);
        other.change([](termios& settings) {
            cfsetispeed(&settings, B300);
            cfsetospeed(&settings, B300);
            settings.c_cflag |= PARENB | PARODD | CSTOPB | CRTSCTS;
            settings.c_iflag |= PARMRK | INPCK | BRKINT;
        });
        tcsendbreak(other.line(), 0);
        for (int i = 0; i < 100; ++i)
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
        QCOMPARE(terminal.output().count("Got message 1e\n"), 100);
        QVERIFY(terminal.ends_cleanly());
    }

    /// Frames of that time are changed on their way and lost; later ones are not.
    void cooked_for_a_while()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const Other other(terminal);
        other.change([](termios& settings) {
            settings.c_iflag |= ICRNL | IXON | ISTRIP;
            settings.c_oflag |= OPOST | ONLCR;
            settings.c_lflag |= ICANON | ECHO | ISIG | IEXTEN;
        });
        terminal.controller.set_silent(true);
        for (int i = 0; i < 256; ++i)
            terminal.controller.send_bytes(QByteArray(1, static_cast<char>(i)));
        for (int i = 0; i < 100; ++i)
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
        QVERIFY(terminal.serves());
        other.put_back();
        tcflow(other.line(), TCOON);
        tcflush(other.line(), TCIFLUSH);
        terminal.controller.send_bytes(QByteArray(13, '\0'));
        terminal.controller.set_silent(false);
        terminal.clear();
        for (int i = 0; i < 100; ++i)
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
        QCOMPARE(terminal.output().count("Got message 1e\n"), 100);
        QVERIFY(terminal.ends_cleanly());
    }

    /// Reads that return without a byte.
    void reads_do_not_wait()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const Other other(terminal);
        other.change([](termios& settings) {
            settings.c_cc[VMIN] = 0;
            settings.c_cc[VTIME] = 0;
        });
        for (int i = 0; i < 100; ++i)
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
        QCOMPARE(terminal.output().count("Got message 1e\n"), 100);
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
    }

    /// The other process takes the line for itself: those who have it keep it.
    void locked_while_running()
    {
        Terminal terminal;
        terminal.start();
        terminal.clear();
        const Other other(terminal);
        QCOMPARE(ioctl(other.line(), TIOCEXCL), 0);
        for (int i = 0; i < 100; ++i)
            terminal.controller.send(QByteArray::fromHex("1e0bb8"));
        QCOMPARE(terminal.output().count("Got message 1e\n"), 100);
        QVERIFY(terminal.ends_cleanly());
    }

    /// What is there when the daemon starts counts.
    void device_that_is_not_there_yet_data()
    {
        QTest::addColumn<bool>("is_link");
        QTest::newRow("no file") << false;
        QTest::newRow("dangling link") << true;
    }
    void device_that_is_not_there_yet()
    {
        QFETCH(const bool, is_link);
        Terminal terminal;
        const QString device = terminal.root.path(QStringLiteral("dev/line"));
        const QString target = terminal.root.path(QStringLiteral("dev/target"));
        if (is_link)
            QVERIFY(QFile::link(target, device));
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), device});
        QVERIFY(terminal.wait_until_started());
        QVERIFY(QFile::link(terminal.controller.device(), is_link ? target : device));
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
        QCOMPARE_EMPTY(terminal.controller.requests());
    }

    /// The daemon keeps the line that it has opened; started anew, it takes the other.
    void another_device_takes_the_place()
    {
        Terminal terminal;
        const QString device = terminal.root.path(QStringLiteral("dev/line"));
        auto first = std::make_unique<Fake_controller>();
        QVERIFY(QFile::link(first->device(), device));
        const QStringList arguments = {QStringLiteral("--port"), device};
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(), arguments);
        QVERIFY(terminal.wait_until_started());
        first.reset();
        QVERIFY(QFile::remove(device));
        QVERIFY(QFile::link(terminal.controller.device(), device));
        QVERIFY(terminal.serves());
        QVERIFY(terminal.ends_cleanly());
        QCOMPARE_EMPTY(terminal.controller.requests());
        terminal.log.clear();
        Daemon_process second;
        second.start(terminal.root.path(), terminal.bus.address(), arguments);
        QVERIFY(wait_for([&] { return terminal.controller.has_received("3502"); }));
        second.signal(SIGTERM);
        QVERIFY(second.wait_for_end());
        QCOMPARE(second.exit_status(), 0);
    }
};

QTEST_GUILESS_MAIN(Settings)
#include "settings.moc"
