// The port in every mix of its uses, beside a plain sequence of bytes: on a real device, with the
// reader's thread and the event loop.

#include "Captured_console.h"
#include "Line_trial.h"
#include "Waiting.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

#include <sys/stat.h>
#include <unistd.h>

class Line_sequence : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void random_steps_are_those_of_one_sequence_of_bytes()
    {
        constexpr uint seeds = 60;
        constexpr int steps = 600;
        const QTemporaryDir directory;
        QFile device(directory.filePath(QStringLiteral("fifo")));
        const QByteArray path = device.fileName().toUtf8();
        QCOMPARE(mkfifo(path.constData(), 0600), 0);
        QVERIFY(device.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
        auto* link = new Line_trial::Link; // its threads live until the process ends
        link->open(path.constData());

        for (uint seed = 1; seed <= seeds; ++seed) {
            QRandomGenerator random(seed);
            Captured_descriptor output(STDOUT_FILENO);
            int printed = 0;
            const auto arrive = [&](const QByteArray& bytes) {
                const qint64 wanted = link->bytesAvailable() + bytes.size();
                QCOMPARE(device.write(bytes), qint64{bytes.size()});
                const QDeadlineTimer deadline(patience_ms);
                while (link->bytesAvailable() < wanted && !deadline.hasExpired())
                    std::this_thread::yield();
            };
            Line_trial trial(*link,
                             {[&](uint limit) { return random.bounded(limit); }, arrive,
                              [](const std::function<bool()>& done) { (void)wait_for(done); },
                              [&] {
                                  const QByteArray text = output.text();
                                  return text.mid(std::exchange(printed, text.size()));
                              }});
            for (int i = 0; i < steps; ++i) {
                const QByteArray difference = trial.step();
                QVERIFY2(difference.isEmpty(),
                         ("seed " + QByteArray::number(seed) + " differs behind these steps:\n" +
                          trial.steps() + difference)
                             .constData());
            }
        }
    }
};

// The process ends without the port's threads being joined, as the daemon does.
int main(int count, char** arguments)
{
    auto* application = new QCoreApplication(count, arguments);
    Line_sequence test;
    const int failures = QTest::qExec(&test, application->arguments());
    (void)std::fflush(nullptr);
    _exit(failures);
}
#include "line_sequence.moc"
