// Messages of the controller far above the line's rate, with calls on the bus beside them, faults
// in between, and a sample of the daemon's resources every second:
//
//   dov-soak SECONDS [SECONDS_OF_A_LIFE]
//
// A daemon lives as long as that, or for the whole run. In its life come the faults that it
// outlives, each at least once; at its end, in turn, none, a line that hangs up, and a bus that is
// started again. It has to end with status 0 each time.
//
// A line a sample: seconds, life, messages, calls and faults so far, open descriptors, threads,
// resident KiB.

#include "Terminal.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <csignal>
#include <cstdio>

namespace {

constexpr int burst = 1000; ///< messages between two looks at the texts
constexpr int broken_every = 100;
constexpr int calls_in_flight = 50;
constexpr int calls_a_command = 50;
constexpr int connection_count = 10;
constexpr qint64 sample_ms = 1000;
constexpr qint64 longest_between_faults_ms = 10'000;
constexpr qint64 longest_end_ms = 20'000; ///< behind a fault that the daemon does not get over

/// What a client asks, with what it passes.
struct Question {
    const char* path;
    const char* interface;
    const char* method;
    QVariantList values;
};

QDBusMessage message_of(const Question& question)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("com.quorin.system"),
        QStringLiteral("/com/quorin/system/") + QLatin1String(question.path),
        QStringLiteral("com.quorin.system.") + QLatin1String(question.interface),
        QLatin1String(question.method));
    message.setArguments(question.values);
    return message;
}

const Question reading_question = {
    "device/io/input/analog/0", "device.io.input.analog", "get_value", {}};

/// What has been done so far, over all lives.
struct Counts {
    QElapsedTimer clock;
    qint64 sampled = 0;
    int life = 0;
    qlonglong messages = 0;
    qlonglong calls = 0;
    int faults = 0;
};

/// One daemon, from its start to its end.
class Life {
public:
    Life(Counts& counts, qint64 duration_ms) : counts_(counts), duration_ms_(duration_ms)
    {
        terminal_.start();
        for (int i = 0; i < connection_count; ++i)
            connections_.append(connect(QStringLiteral("client %1").arg(i)));
    }

    ~Life()
    {
        for (const QDBusConnection& connection : connections_)
            QDBusConnection::disconnectFromBus(connection.name());
    }

    /// Load and faults until its time is over and each fault has been; whether the daemon has
    /// lasted.
    bool goes_on()
    {
        const auto fault_count = static_cast<qint64>(std::size(faults));
        const qint64 between_faults_ms =
            std::min(longest_between_faults_ms, duration_ms_ / (fault_count + 1));
        QElapsedTimer age;
        age.start();
        qint64 made = 0;
        while (terminal_.daemon.is_running() &&
               (age.elapsed() < duration_ms_ || made < fault_count)) {
            ask();
            send_burst();
            terminal_.clear();
            if (age.elapsed() >= (made + 1) * between_faults_ms) {
                (this->*faults[made % fault_count])();
                ++made;
                ++counts_.faults;
            }
            sample_when_due();
        }
        return terminal_.daemon.is_running();
    }

    /// Ends it in the way whose turn it is; whether its status is 0.
    bool ends()
    {
        (void)wait_for([this] { return in_flight_ == 0; });
        (this->*ends_[counts_.life % static_cast<int>(std::size(ends_))])();
        sample();
        return terminal_.ends_cleanly();
    }

private:
    using Action = void (Life::*)();

    QDBusConnection connect(const QString& name) const
    {
        return QDBusConnection::connectToBus(terminal_.bus.address(), name);
    }

    /// Inputs that change with every message, and one broken message in a hundred.
    void send_burst(int count = burst)
    {
        QByteArray bytes;
        for (int i = 0; i < count; ++i) {
            const auto low = static_cast<char>(counts_.messages + i);
            const auto high = static_cast<char>((counts_.messages + i) / 256);
            QByteArray frame = Fake_controller::frame(
                QByteArray("\x36").append(low).append(high).append(low).append(high).append(low));
            if (i % broken_every == broken_every - 1)
                frame[12] = static_cast<char>(~frame[12]);
            bytes += frame;
        }
        terminal_.controller.send_bytes(bytes);
        counts_.messages += count;
    }

    /// A burst by the texts alone, where there is no bus to ask behind it.
    void pass_burst_without_bus(int count)
    {
        terminal_.daemon.clear_texts();
        send_burst(count);
        const int whole = count - count / broken_every;
        if (!wait_for([&] { return terminal_.daemon.output().count("Got message 36\n") >= whole; }))
            report::give_up("messages are not handled");
        terminal_.daemon.clear_texts();
        terminal_.controller.clear();
        terminal_.log.clear();
    }

    void ask()
    {
        static const Question questions[] = {
            reading_question,
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
            auto& connection = connections_[asked_ % connection_count];
            auto* watcher = new QDBusPendingCallWatcher(
                connection.asyncCall(message_of(question), patience_ms));
            QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                             [this](QDBusPendingCallWatcher* call) {
                                 if (call->isError())
                                     qFatal("%s", qPrintable(call->error().message()));
                                 ++counts_.calls;
                                 --in_flight_;
                                 call->deleteLater();
                             });
            ++asked_;
            ++in_flight_;
        }
    }

    // The faults that it outlives.

    void flood_with_garbage()
    {
        QByteArray bytes(256 * 1024, '\0');
        auto* generator = QRandomGenerator::global();
        std::generate(bytes.begin(), bytes.end(),
                      [generator] { return static_cast<char>(generator->generate()); });
        terminal_.controller.send_bytes(bytes);
        terminal_.controller.send_bytes(QByteArray("\x18\xef").repeated(bytes.size() / 2));
        // Ends what the last bytes may have begun.
        terminal_.controller.send_bytes(QByteArray(32, '\0'));
        terminal_.clear();
    }

    /// Each with a rule that every signal matches.
    void let_clients_come_and_go()
    {
        constexpr int count = 20;
        for (int i = 0; i < count; ++i) {
            QDBusConnection connection = connect(QStringLiteral("guest %1").arg(i));
            connection.connect({}, {}, {}, QStringLiteral("val_changed"), &terminal_,
                               SLOT(take_signal(QDBusMessage)));
            const QDBusPendingCallWatcher watcher(
                connection.asyncCall(message_of(reading_question), patience_ms));
            (void)wait_for([&watcher] { return watcher.isFinished(); });
            QDBusConnection::disconnectFromBus(connection.name());
        }
    }

    void let_a_client_leave_before_its_answers()
    {
        constexpr int count = 1000;
        const QDBusConnection connection = connect(QStringLiteral("hasty"));
        for (int i = 0; i < count; ++i)
            connection.asyncCall(message_of(reading_question));
        QDBusConnection::disconnectFromBus(connection.name());
    }

    void let_the_controller_be_silent()
    {
        terminal_.controller.set_silent(true);
        send_burst();
        ask();
        terminal_.clear();
        terminal_.controller.set_silent(false);
    }

    void let_the_bus_stand_still()
    {
        constexpr int count = 500;
        terminal_.bus.signal(SIGSTOP);
        pass_burst_without_bus(count);
        terminal_.bus.signal(SIGCONT);
        terminal_.clear();
    }

    void let_the_daemon_stand_still()
    {
        constexpr int count = 250; // what the line holds
        terminal_.daemon.signal(SIGSTOP);
        send_burst(count);
        terminal_.daemon.signal(SIGCONT);
        terminal_.clear();
    }

    static constexpr Action faults[] = {
        &Life::flood_with_garbage,
        &Life::let_clients_come_and_go,
        &Life::let_a_client_leave_before_its_answers,
        &Life::let_the_controller_be_silent,
        &Life::let_the_bus_stand_still,
        &Life::let_the_daemon_stand_still,
    };

    // What stands at the end of a life.

    void let_be() {}

    void hang_up()
    {
        ++counts_.faults;
        terminal_.controller.hang_up();
        const QDeadlineTimer over(end_ms());
        do {
            ask();
            (void)wait_for([this] { return in_flight_ == 0; });
            sample_when_due();
        } while (!over.hasExpired());
    }

    void start_the_bus_again()
    {
        ++counts_.faults;
        for (const QDBusConnection& connection : connections_)
            QDBusConnection::disconnectFromBus(connection.name());
        connections_.clear();
        terminal_.bus.stop();
        terminal_.bus.start();
        const QDeadlineTimer over(end_ms());
        do {
            pass_burst_without_bus(burst);
            sample_when_due();
        } while (!over.hasExpired());
    }

    static constexpr Action ends_[] = {&Life::let_be, &Life::hang_up, &Life::start_the_bus_again};

    qint64 end_ms() const { return std::min(longest_end_ms, duration_ms_ / 4); }

    void sample_when_due()
    {
        if (counts_.clock.elapsed() >= counts_.sampled * sample_ms)
            sample();
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
        std::printf("%.1f %d %lld %lld %d %lld %lld %lld\n",
                    static_cast<double>(counts_.clock.elapsed()) / 1000.0, counts_.life,
                    counts_.messages, counts_.calls, counts_.faults, qint64{entries("fd")},
                    qint64{entries("task")}, resident_kb);
        (void)std::fflush(stdout);
        ++counts_.sampled;
    }

    Counts& counts_;
    const qint64 duration_ms_;
    Terminal terminal_;
    QList<QDBusConnection> connections_;
    int asked_ = 0;
    int in_flight_ = 0;
};

bool lasts(qint64 whole_ms, qint64 life_ms)
{
    Counts counts;
    counts.clock.start();
    while (counts.clock.elapsed() < whole_ms) {
        Life life(counts, life_ms);
        if (!life.goes_on() || !life.ends())
            return false;
        ++counts.life;
    }
    return true;
}

} // namespace

int main(int count, char** arguments)
{
    const QCoreApplication application(count, arguments);
    const int seconds = QCoreApplication::arguments().value(1).toInt();
    const int life_seconds = count > 2 ? QCoreApplication::arguments().value(2).toInt() : seconds;
    if (seconds < 1 || life_seconds < 1) {
        (void)std::fprintf(stderr, "Usage: dov-soak SECONDS [SECONDS_OF_A_LIFE]\n");
        return 2;
    }
    return lasts(seconds * 1000LL, life_seconds * 1000LL) ? 0 : 1;
}
