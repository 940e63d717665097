// The daemon over a tap: what it says and hears is all there, also after hang-ups and restarts.

#include "Controller_process.h"
#include "Terminal.h"
#include "Waiting.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

class Tap_with_daemon : public QObject {
    Q_OBJECT

    std::unique_ptr<Controller_process> controller_;
    std::unique_ptr<Terminal> terminal_;
    std::unique_ptr<Bound_process> tap_;

    QString path(const char* name) const { return controller_->path(QLatin1String(name)); }

    /// Whether commands and reports get through, in both directions.
    bool works()
    {
        static int level = 100;
        controller_->command("input analog " + QByteArray::number(++level));
        const QString analog = QStringLiteral("device/io/input/analog/0");
        if (!wait_for([&] {
                const double value = terminal_->get(analog, QStringLiteral("get_value")).toDouble();
                return qFuzzyCompare(value, level / 1000.0);
            }))
            return false;
        terminal_->call(QStringLiteral("device/io/output/digital/2"),
                        level % 2 == 0 ? QStringLiteral("on") : QStringLiteral("off"));
        const QByteArray state = level % 2 == 0 ? "output 2 on" : "output 2 off";
        return wait_for([&] { return controller_->state().contains(state); });
    }

    QJsonObject counted(const char* recording) const
    {
        Bound_process process;
        process.start(QStringLiteral(DOV_LINE),
                      {QStringLiteral("stats"), QStringLiteral("--json"), path(recording)});
        process.waitForFinished(patience_ms);
        return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    }

private Q_SLOTS:
    void init()
    {
        controller_ = std::make_unique<Controller_process>();
        terminal_ = std::make_unique<Terminal>();
        controller_->start({QStringLiteral("--link"), path("device"), QStringLiteral("--record"),
                            path("controller")},
                           false);
        QVERIFY(wait_for([this] { return !controller_->devices().isEmpty(); }));
        tap_ = std::make_unique<Bound_process>();
        tap_->start(QStringLiteral(DOV_LINE),
                    {QStringLiteral("tap"), QStringLiteral("--quiet"), QStringLiteral("--device"),
                     path("device"), QStringLiteral("--link"), path("line"),
                     QStringLiteral("--record"), path("tap")});
        QVERIFY(wait_for([this] { return QFileInfo::exists(path("line")); }));
        terminal_->start({QStringLiteral("--port"), path("line")});
    }

    void cleanup()
    {
        terminal_.reset();
        tap_.reset();
        controller_.reset();
    }

    void the_recording_has_what_the_controller_has_seen()
    {
        for (int i = 0; i < 10; ++i)
            QVERIFY(works());
        QVERIFY(terminal_->ends_cleanly());
        QVERIFY(wait_for([this] { return controller_->state().contains("digest off"); }));
        // What is on the line when it goes is lost, as on a wire.
        constexpr int frame_size = 13;
        const int sent = controller_->state().constFirst().split(' ').value(3).toInt(); // bytes
        QVERIFY(wait_for([&] {
            return counted("tap")[QStringLiteral("controller_frames")].toInt() * frame_size == sent;
        }));
        controller_->end();
        tap_->terminate();
        QVERIFY(tap_->waitForFinished(patience_ms));
        QCOMPARE(tap_->exitCode(), 0);
        const QJsonObject there = counted("controller");
        const QJsonObject here = counted("tap");
        const auto figure_of = [](const QJsonObject& counts, const char* name) {
            return QStringLiteral("%1 %2")
                .arg(QLatin1String(name))
                .arg(counts[QLatin1String(name)].toInt(-1));
        };
        QCOMPARE_GT(here[QStringLiteral("host_frames")].toInt(), 20);
        for (const char* figure :
             {"host_frames", "controller_frames", "checksum_errors", "address_errors",
              "skipped_bytes", "unknown_identifiers", "missing_records"})
            QCOMPARE(figure_of(here, figure), figure_of(there, figure));
    }

    void the_daemon_can_be_restarted()
    {
        QVERIFY(works());
        QVERIFY(terminal_->ends_cleanly());
        terminal_ = std::make_unique<Terminal>();
        terminal_->start({QStringLiteral("--port"), path("line")});
        QVERIFY(works());
    }

    void a_device_that_comes_back_serves_a_new_daemon()
    {
        QVERIFY(works());
        controller_->command("disconnect");
        QVERIFY(wait_for([this] { return !QFileInfo(path("line")).isSymLink(); }));
        QVERIFY(terminal_->daemon.is_running()); // it leads no session that would be told
        controller_->command("connect");
        QVERIFY(wait_for([this] { return QFileInfo::exists(path("line")); }));
        terminal_ = std::make_unique<Terminal>();
        terminal_->start({QStringLiteral("--port"), path("line")});
        QVERIFY(works());
    }

    void the_speed_of_the_daemon_is_the_device_s()
    {
        QVERIFY(terminal_->ends_cleanly());
        terminal_ = std::make_unique<Terminal>();
        terminal_->start({QStringLiteral("--port"), path("line"), QStringLiteral("--baudrate"),
                          QStringLiteral("57600")});
        QVERIFY(works());
        const auto speed = [this] {
            termios settings{};
            const int device = ::open(QFile::encodeName(path("device")).constData(),
                                      O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
            (void)tcgetattr(device, &settings);
            ::close(device);
            return cfgetospeed(&settings);
        };
        WAIT_UNTIL(speed(), ==, speed_t{B57600});
    }
};

QTEST_GUILESS_MAIN(Tap_with_daemon)
#include "tap_with_daemon.moc"
