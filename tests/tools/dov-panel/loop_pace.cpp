// An event loop that is woken no more often than it wants to be.

#include "Loop_pace.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSemaphore>
#include <QTest>
#include <QThread>

#include <memory>

class Pace_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void what_comes_is_waited_for_once_in_a_span()
    {
        constexpr int events = 100;
        constexpr int span_ms = 5;
        int waits = 0;
        int taken = 0;
        QSemaphore handled(1);
        const std::unique_ptr<QThread> sender(QThread::create([&] {
            for (int i = 0; i < events; ++i) {
                handled.acquire();
                QMetaObject::invokeMethod(
                    this,
                    [&] {
                        ++taken;
                        handled.release();
                    },
                    Qt::QueuedConnection);
            }
        }));
        const Loop_pace pace{std::chrono::milliseconds(span_ms)};
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                &pace, [&waits] { ++waits; });
        QElapsedTimer time;
        time.start();
        sender->start();
        while (taken < events)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        // The first one may come at once, and the last span is not over.
        QCOMPARE_LE(waits, static_cast<int>(time.elapsed() / span_ms) + 2);
        sender->wait();
    }
};

QTEST_GUILESS_MAIN(Pace_test)
#include "loop_pace.moc"
