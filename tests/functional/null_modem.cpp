// The daemon and the simulator, each at one end of a line that crosses over.

#include "Pseudo_terminal.h"
#include "Terminal.h"

#include <QFile>
#include <QSocketNotifier>

#include <unistd.h>

namespace {

/// One end of the line: what the program there writes goes to the other end.
class End {
public:
    const QString& device() const { return terminal_.device(); }

    void lead_to(const End& other)
    {
        notifier_ = std::make_unique<QSocketNotifier>(terminal_.own(), QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this, &other] {
            char bytes[256];
            const ssize_t count = read(terminal_.own(), bytes, sizeof bytes);
            if (count > 0)
                (void)!write(other.terminal_.own(), bytes, static_cast<std::size_t>(count));
        });
    }

private:
    Pseudo_terminal terminal_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace

class Null_modem : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<End> near_;
    std::unique_ptr<End> far_;
    std::unique_ptr<Terminal> terminal_;
    std::unique_ptr<Daemon_process> simulator_;

    /// Waits until the simulator has printed a text so often.
    bool simulator_prints(const QByteArray& text, int times = 1)
    {
        return wait_for([&] { return simulator_->output().count(text) >= times; });
    }

private Q_SLOTS:
    void initTestCase()
    {
        terminal_ = std::make_unique<Terminal>();
        near_ = std::make_unique<End>();
        far_ = std::make_unique<End>();
        near_->lead_to(*far_);
        far_->lead_to(*near_);
        const Test_root& root = terminal_->root;
        QVERIFY(QFile::link(far_->device(), root.path(QStringLiteral("dev/ttyUSB1"))));
        simulator_ = std::make_unique<Daemon_process>();
        simulator_->start(root.path(), terminal_->bus.address(), {QStringLiteral("--simulate")});
        QVERIFY(simulator_prints("Simulate\n"));
        terminal_->daemon.start(root.path(), terminal_->bus.address(),
                                {QStringLiteral("--port"), near_->device()});
        QVERIFY(terminal_->wait_until_started());
    }
    void cleanupTestCase()
    {
        terminal_.reset();
        simulator_.reset();
    }

    void both_report_the_addresses_and_take_the_frames()
    {
        const QByteArray reported = "Src/Dest test failed 78:59 59:78\n";
        QVERIFY(simulator_prints(reported + "8:01\n"));
        QVERIFY(simulator_prints(reported + "8:35\nRequest digest\n", 3));
        QVERIFY(wait_for(
            [&] { return terminal_->daemon.output().contains(reported + "Got message 36\n"); }));
    }

    void outputs_are_switched()
    {
        QVERIFY(simulator_prints("Set Digi 1+FFFF =>55+FFFF\n")); // at the daemon's start
        terminal_->call(QStringLiteral("device/io/output/digital/1"), QStringLiteral("on"));
        QVERIFY(simulator_prints("Set Digi 8+FFFF =>59+FTFF\n"));
    }

    void inputs_change()
    {
        // By the eighth report.
        const Terminal::Signal raised = {
            QStringLiteral("device/io/input/digital/0"), QStringLiteral("changed"), {true}};
        QVERIFY(wait_for([&] { return terminal_->seen_signals().contains(raised); }));
    }

    void last_word_asks_for_the_digest()
    {
        QVERIFY(terminal_->ends_cleanly());
        QVERIFY(simulator_prints("Request digest\n", 4));
    }
};

QTEST_GUILESS_MAIN(Null_modem)
#include "null_modem.moc"
