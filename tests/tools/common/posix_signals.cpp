// Signals as the event loop hears of them: each one, whenever it comes and whatever threads there
// are.

#include "Posix_signals.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <functional>

#include <unistd.h>

namespace {

/// A thread that does nothing, as the message bus's does between messages.
class Idle_thread : public QThread {
public:
    ~Idle_thread() override
    {
        end_.release();
        wait();
    }
    void run() override
    {
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked_);
        running_.release();
        end_.acquire();
    }
    void start_and_wait()
    {
        start();
        running_.acquire();
    }
    bool blocks(int number) const { return sigismember(&blocked_, number) == 1; }

private:
    QSemaphore running_;
    QSemaphore end_;
    sigset_t blocked_ = {};
};

} // namespace

class Posix_signals_test : public QObject {
    Q_OBJECT

    static void add_signals()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("ends");
        QTest::newRow("SIGINT") << SIGINT << true;
        QTest::newRow("SIGTERM") << SIGTERM << true;
        QTest::newRow("SIGHUP") << SIGHUP << true;
        QTest::newRow("SIGWINCH") << SIGWINCH << false;
    }

private Q_SLOTS:
    /// This thread begins as a tool's does, with nothing blocked.
    void init()
    {
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
    }

    void one_that_comes_before_the_loop_waits_for_it_data() { add_signals(); }
    void one_that_comes_before_the_loop_waits_for_it()
    {
        QFETCH(int, number);
        QFETCH(bool, ends);
        const Posix_signals signals_;
        QSignalSpy end(&signals_, &Posix_signals::end_asked);
        QSignalSpy resize(&signals_, &Posix_signals::resized);
        QCOMPARE(::kill(::getpid(), number), 0);
        QCOMPARE(end.size() + resize.size(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(end.size(), ends ? 1 : 0);
        QCOMPARE(resize.size(), ends ? 0 : 1);
    }

    void none_goes_to_another_thread_data() { add_signals(); }
    void none_goes_to_another_thread()
    {
        QFETCH(int, number);
        const Posix_signals signals_;
        sigset_t blocked = {};
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        QCOMPARE(sigismember(&blocked, number), 1);
        Idle_thread thread;
        thread.start_and_wait();
        QVERIFY(thread.blocks(number));
        QSignalSpy end(&signals_, &Posix_signals::end_asked);
        QSignalSpy resize(&signals_, &Posix_signals::resized);
        QCOMPARE(::kill(::getpid(), number), 0);
        QCoreApplication::processEvents();
        QCOMPARE(end.size() + resize.size(), 1);
    }

    void what_is_not_taken_is_dropped_with_the_object()
    {
        {
            const Posix_signals signals_;
            QCOMPARE(::kill(::getpid(), SIGHUP), 0);
        }
        const Posix_signals signals_;
        QSignalSpy end(&signals_, &Posix_signals::end_asked);
        QCoreApplication::processEvents();
        QCOMPARE(end.size(), 0);
    }
};

/// The test framework has a thread of its own, which is to take no signal either: they are blocked
/// before it starts, as a tool blocks them before its first.
int main(int count, char** arguments)
{
    sigset_t signals_;
    sigemptyset(&signals_);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGWINCH})
        sigaddset(&signals_, number);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    const QCoreApplication application(count, arguments);
    Posix_signals_test test;
    return QTest::qExec(&test, count, arguments);
}
#include "posix_signals.moc"
