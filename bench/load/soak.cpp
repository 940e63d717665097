// Messages of the controller far above the line's rate, with calls on the bus beside them, and a
// sample of the daemon's resources every second:
//
//   dov-soak SECONDS
//
// A line a sample: seconds, messages and calls so far, open descriptors, threads, resident KiB.

#include "Terminal.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

namespace {

constexpr int burst = 1000; ///< messages between two looks at the texts
constexpr int calls_in_flight = 50;
constexpr int calls_a_command = 50;
constexpr int connection_count = 10;
constexpr int sample_ms = 1000;

/// What a client asks, with what it passes.
struct Question {
    const char* path;
    const char* interface;
    const char* method;
    QVariantList values;
};

class Soak {
public:
    Soak()
    {
        terminal_.start();
        for (int i = 0; i < connection_count; ++i)
            connections_.append(QDBusConnection::connectToBus(terminal_.bus.address(),
                                                              QStringLiteral("client %1").arg(i)));
    }

    bool run(int seconds)
    {
        clock_.start();
        int sampled = 0;
        while (terminal_.daemon.is_running() && clock_.elapsed() < seconds * 1000LL) {
            ask();
            send_burst();
            terminal_.clear();
            if (clock_.elapsed() >= sampled * sample_ms) {
                sample();
                ++sampled;
            }
        }
        return terminal_.daemon.is_running();
    }

private:
    /// Inputs that change with every message, and one broken message in a hundred.
    void send_burst()
    {
        QByteArray bytes;
        for (int i = 0; i < burst; ++i) {
            const auto low = static_cast<char>(messages_ + i);
            const auto high = static_cast<char>((messages_ + i) / 256);
            QByteArray frame = Fake_controller::frame(
                QByteArray("\x36").append(low).append(high).append(low).append(high).append(low));
            if (i % 100 == 99)
                frame[12] = static_cast<char>(~frame[12]);
            bytes += frame;
        }
        terminal_.controller.send_bytes(bytes);
        messages_ += burst;
    }

    void ask()
    {
        static const Question questions[] = {
            {"device/io/input/analog/0", "device.io.input.analog", "get_value", {}},
            {"device/io/input/analog/0", "device.io.input.analog", "set_hysteresis", {0.5}},
            {"device/io/input/digital/1", "device.io.input.digital", "is_on", {}},
            {"device/buzzer", "device.buzzer", "set_volume", {50.0}},
            {"version/bootloader", "version", "get", {}},
            {"media", "media", "media_changed", {QStringLiteral("/none/")}},
        };
        // Goes out on the line, which is far slower than the bus.
        static const Question command = {
            "device/io/output/digital/2", "device.io.output.digital", "on", {}};
        while (in_flight_ < calls_in_flight) {
            const Question& question =
                asked_ % calls_a_command == 0
                    ? command
                    : questions[asked_ % static_cast<int>(std::size(questions))];
            QDBusMessage message = QDBusMessage::createMethodCall(
                QStringLiteral("com.quorin.system"),
                QStringLiteral("/com/quorin/system/") + QLatin1String(question.path),
                QStringLiteral("com.quorin.system.") + QLatin1String(question.interface),
                QLatin1String(question.method));
            message.setArguments(question.values);
            auto& connection = connections_[asked_ % connection_count];
            auto* watcher = new QDBusPendingCallWatcher(connection.asyncCall(message, patience_ms));
            QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                             [this](QDBusPendingCallWatcher* call) {
                                 if (call->isError())
                                     qFatal("%s", qPrintable(call->error().message()));
                                 ++answered_;
                                 --in_flight_;
                                 call->deleteLater();
                             });
            ++asked_;
            ++in_flight_;
        }
    }

    void sample()
    {
        const QString directory = QStringLiteral("/proc/%1/").arg(terminal_.daemon.pid());
        const auto entries = [&directory](const char* below) {
            return QDir(directory + QLatin1String(below))
                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                .size();
        };
        QFile status(directory + QStringLiteral("statm"));
        if (!status.open(QIODevice::ReadOnly))
            qFatal("the daemon has gone");
        const qlonglong resident_kb = status.readAll().split(' ').value(1).toLongLong() * 4;
        std::printf("%.1f %lld %lld %lld %lld %lld\n",
                    static_cast<double>(clock_.elapsed()) / 1000.0, messages_, answered_,
                    qint64{entries("fd")}, qint64{entries("task")}, resident_kb);
        (void)std::fflush(stdout);
    }

    Terminal terminal_;
    QList<QDBusConnection> connections_;
    QElapsedTimer clock_;
    qlonglong messages_ = 0;
    int asked_ = 0;
    int in_flight_ = 0;
    qlonglong answered_ = 0;
};

} // namespace

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    const int seconds = QCoreApplication::arguments().value(1).toInt();
    if (seconds < 1) {
        (void)std::fprintf(stderr, "Usage: dov-soak SECONDS\n");
        return 2;
    }
    return Soak().run(seconds) ? 0 : 1;
}
