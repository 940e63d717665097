// The re-reports of the inputs that have a period.

#include "Report_timer.h"

#include "Analog_input_interface.h"
#include "Captured_console.h"
#include "Frequency_input_interface.h"
#include "Objects.h"
#include "Test_daemon.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>

class Report_timer_test : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    static constexpr int period_ms = 500000;

    /// Until a restart of the period can be told from none.
    static void wait_well_into_period(const QTimer& timer)
    {
        WAIT_UNTIL(timer.remainingTime(), <, period_ms - 100);
    }

    /// Whether the period has begun since the clock was started, however long ago that was. Both
    /// count whole milliseconds.
    static bool has_begun_since(const QElapsedTimer& clock, const QTimer& timer)
    {
        const int left = timer.remainingTime();
        return left + clock.elapsed() >= period_ms - 2;
    }

    static QByteArray millivolts(uint value)
    {
        return "1e" + QByteArray::number(value, 16).rightJustified(4, '0');
    }

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void time_outs_data()
    {
        QTest::addColumn<uint>("asked");
        QTest::addColumn<uint>("period");
        QTest::addColumn<int>("interval");
        QTest::newRow("1") << 1U << 130U << 130;
        QTest::newRow("129") << 129U << 130U << 130;
        QTest::newRow("130") << 130U << 130U << 130;
        QTest::newRow("131") << 131U << 131U << 131;
        QTest::newRow("longest") << 2147483647U << 2147483647U << 2147483647;
        QTest::newRow("beyond a timer") << 2147483648U << 2147483648U << 2147483647;
        QTest::newRow("largest") << 4294967295U << 4294967295U << 2147483647;
    }
    void time_outs()
    {
        QFETCH(uint, asked);
        QFETCH(uint, period);
        QFETCH(int, interval);
        auto& analog = make<Analog_input_interface>(true);
        analog.set_time_out(asked);
        QCOMPARE(output_of(analog, &Analog_input_interface::get_time_out), period);
        auto& frequency = make<Frequency_input_interface>();
        frequency.set_time_out(asked);
        QCOMPARE(output_of(frequency, &Frequency_input_interface::get_time_out), period);
        for (const QObject* input :
             {static_cast<QObject*>(&analog), static_cast<QObject*>(&frequency)}) {
            const auto timers = input->findChildren<QTimer*>();
            QCOMPARE(timers.size(), 1);
            QVERIFY(timers[0]->isActive() && !timers[0]->isSingleShot());
            QCOMPARE(timers[0]->interval(), interval);
            QCOMPARE(timers[0]->timerType(), Qt::PreciseTimer);
        }
    }

    void time_out_of_0_ends_the_reports()
    {
        auto& input = make<Analog_input_interface>(true);
        input.set_time_out(0);
        QCOMPARE_EMPTY(input.findChildren<QTimer*>());
        QCOMPARE(output_of(input, &Analog_input_interface::get_time_out, 1U), 0U);
        input.set_time_out(200);
        input.set_time_out(300);
        QCOMPARE(input.findChildren<QTimer*>().size(), 1);
        input.set_time_out(0);
        QCOMPARE_EMPTY(input.findChildren<QTimer*>());
        QCOMPARE(output_of(input, &Analog_input_interface::get_time_out, 1U), 0U);
    }

    void time_out_reports_the_latest_reading_again_and_again()
    {
        auto& input = make<Analog_input_interface>(true);
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        offer(input, millivolts(1500));
        offer(input, millivolts(1750)); // the latest, and no change
        QSignalSpy changed(&input, &Analog_input_interface::val_changed);
        input.set_time_out(1);
        QVERIFY(QTest::qWaitFor([&] { return changed.count() >= 2; }, patience_ms));
        input.set_time_out(0);
        QCOMPARE(changed[0], (QVariantList{1.75, true}));
        QCOMPARE(changed[1], (QVariantList{1.75, true}));
        changed.clear();
        input.handle_timeout(); // a method of the bus as well
        QCOMPARE(seen(changed), (QList<QVariantList>{{1.75, true}}));
    }

    void only_a_reported_change_restarts_the_period()
    {
        auto& analog = make<Analog_input_interface>(true);
        auto& frequency = make<Frequency_input_interface>();
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        analog.set_time_out(period_ms);
        analog.set_min_value(1.0);
        frequency.set_time_out(period_ms);
        const auto* analog_timer = analog.findChild<QTimer*>();
        const auto* frequency_timer = frequency.findChild<QTimer*>();
        offer(analog, millivolts(5000)); // the first change
        offer(frequency, "3600000000000005");
        wait_well_into_period(*analog_timer);
        wait_well_into_period(*frequency_timer);
        offer(analog, millivolts(500)); // passes the limit and is no change
        analog.handle_timeout();
        offer(frequency, "3600000000000006");
        frequency.handle_timeout();
        QCOMPARE_LT(analog_timer->remainingTime(), period_ms - 100);
        QCOMPARE_LT(frequency_timer->remainingTime(), period_ms - 100);
        QElapsedTimer clock;
        clock.start();
        analog.set_time_out(period_ms); // the same again begins a new one
        QVERIFY(has_begun_since(clock, *analog_timer));
    }

    void frequency_change_restarts_the_period()
    {
        auto& input = make<Frequency_input_interface>();
        input.set_time_out(period_ms);
        input.set_hysteresis(1.0);
        auto* timer = input.findChild<QTimer*>();
        wait_well_into_period(*timer);
        const Captured_descriptor errors(STDERR_FILENO);
        QElapsedTimer clock;
        clock.start();
        offer(input, "3600000000001000");
        QVERIFY(has_begun_since(clock, *timer));
        QVERIFY(timer->isActive());
        input.set_time_out(0);
        QCOMPARE_EMPTY(input.findChildren<QTimer*>());
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Report_timer_test>(count, arguments, "<power/>");
}
#include "report_timer.moc"
