// The daemon and the simulator, each at one end of a line that crosses over.

#include "Terminal.h"

#include <QFile>
#include <QSocketNotifier>

#include <cstdlib>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

/// One end of the line: what the program there writes goes to the other end.
class End {
public:
    End() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0)
            qFatal("no pseudo terminal");
        device_ = QString::fromLatin1(ptsname(master_));
        slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios settings{};
        tcgetattr(slave_, &settings);
        cfmakeraw(&settings);
        tcsetattr(slave_, TCSANOW, &settings);
    }
    ~End()
    {
        notifier_.reset();
        close(slave_);
        close(master_);
    }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    const QString& device() const { return device_; }

    void lead_to(const End& other)
    {
        notifier_ = std::make_unique<QSocketNotifier>(master_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this, &other] {
            char bytes[256];
            const ssize_t count = read(master_, bytes, sizeof bytes);
            if (count > 0)
                (void)!write(other.master_, bytes, static_cast<std::size_t>(count));
        });
    }

private:
    int master_;
    int slave_; ///< keeps the line up before the program is there
    QString device_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace

class Null_modem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void daemon_works_with_the_simulator()
    {
        Terminal terminal;
        End near;
        End far;
        near.lead_to(far);
        far.lead_to(near);
        QVERIFY(QFile::link(far.device(), terminal.root.path(QStringLiteral("dev/ttyUSB1"))));
        Daemon_process simulator;
        simulator.start(terminal.root.path(), terminal.bus.address(),
                        {QStringLiteral("--simulate")});
        QVERIFY(wait_for([&] { return simulator.output().endsWith("Simulate\n"); }));
        terminal.daemon.start(terminal.root.path(), terminal.bus.address(),
                              {QStringLiteral("--port"), near.device()});
        QVERIFY(terminal.wait_until_started());

        // Both report the addresses, and take the frame.
        const QByteArray reported = "Src/Dest test failed 78:59 59:78\n";
        QVERIFY(wait_for(
            [&] { return simulator.output().count(reported + "8:35\nRequest digest\n") == 3; }));
        QVERIFY(simulator.output().contains(reported + "8:01\n"));
        QVERIFY(simulator.output().contains("Set Digi 1+FFFF =>55+FFFF\n"));
        QVERIFY(wait_for(
            [&] { return terminal.daemon.output().count(reported + "Got message 36\n") >= 9; }));

        // The eighth report raises input 0.
        const Terminal::Signal raised = {
            QStringLiteral("device/io/input/digital/0"), QStringLiteral("changed"), {true}};
        QVERIFY(wait_for([&] { return terminal.seen_signals().contains(raised); }));
        const QString output = QStringLiteral("device/io/output/digital/1");
        terminal.call(output, QStringLiteral("on"));
        QVERIFY(
            wait_for([&] { return simulator.output().contains("Set Digi 8+FFFF =>59+FTFF\n"); }));
        QVERIFY(terminal.ends_cleanly());
        QVERIFY(wait_for(
            [&] { return simulator.output().count(reported + "8:35\nRequest digest\n") == 4; }));
    }
};

QTEST_GUILESS_MAIN(Null_modem)
#include "null_modem.moc"
