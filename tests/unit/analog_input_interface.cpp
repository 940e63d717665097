// The measured inputs' decoding, thresholds and limits, and those of the one that
// is a voltage.

#include "Analog_input_interface.h"

#include "Captured_console.h"
#include "Input_test.h"
#include "Waiting.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>

#include <cmath>

class Analog_input : public Input_test {
    Q_OBJECT
public:
    using Input_test::Input_test;

private:
    static QByteArray millivolts(uint value)
    {
        return "1e" + QByteArray::number(value, 16).rightJustified(4, '0');
    }

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void readings_data()
    {
        add_reading_columns();
        add_reading(0, "3600040100000000", 1.025);
        add_reading(0, "3600ffff00000000", 65.535);
        add_reading(0, "1e04010000000000", 1.025);
        add_reading(0, "1e0000", 0.0);
    }
    void readings() { check_reading(make<Analog_input_interface>(true)); }

    void other_messages_are_refused_data()
    {
        add_refused_columns();
        add_refused(0, "200000");
        add_refused(0, "1e00");
        add_refused(0, "360000");
    }
    void other_messages_are_refused() { check_refused(make<Analog_input_interface>(true)); }

    void single_readings_are_traced_and_digests_are_not()
    {
        auto& analog = make<Analog_input_interface>(true);
        const Captured_descriptor errors(STDERR_FILENO);
        Captured_descriptor output(STDOUT_FILENO);
        offer(analog, "1e0abc00000000ff");
        offer(analog, "3600abcd00000000");
        QCOMPARE(output.text(), QByteArray("ARAW: 1E0ABC00000000FF: 2.748\n"));
    }

    void starting_values()
    {
        auto& input = make<Analog_input_interface>(true);
        QCOMPARE(value_of(input), -1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_hysteresis), 1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_min_value), -1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_max_value), 1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_time_out, 1U), 0U);
    }

    void settings_are_stored_as_they_are()
    {
        auto& input = make<Analog_input_interface>(true);
        for (const double value : {0.0, -3.5, huge, infinite, -infinite}) {
            input.set_hysteresis(value);
            input.set_min_value(value);
            input.set_max_value(value);
            QCOMPARE(output_of(input, &Analog_input_interface::get_hysteresis), value);
            QCOMPARE(output_of(input, &Analog_input_interface::get_min_value), value);
            QCOMPARE(output_of(input, &Analog_input_interface::get_max_value), value);
        }
    }

    void first_positive_reading_alone_is_a_change()
    {
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy changed(&input, &Analog_input_interface::val_changed);
        const Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        offer(input,
              millivolts(0)); // exactly the hysteresis away, which is not enough
        offer(input, millivolts(1500));
        offer(input, millivolts(65535));
        QCOMPARE(seen(changed), (QList<QVariantList>{{1.5, false}}));
        QCOMPARE(errors.text(), QByteArray("Updated val=0 !Changed\nUpdated val=1.5 Changed\n"
                                           "Updated val=65.535 !Changed\n"));
        QCOMPARE(value_of(input), 65.535);
    }

    void change_is_measured_from_the_last_reported_value()
    {
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy changed(&input, &Analog_input_interface::val_changed);
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        input.set_hysteresis(1.0);
        for (const uint reading : {2000U, 2600U, 2999U, 3000U, 3250U, 2250U, 2000U})
            offer(input, millivolts(reading));
        QCOMPARE(seen(changed), (QList<QVariantList>{{2.0, false}, {3.25, false}, {2.0, false}}));
    }

    void limit_is_passed_once_until_it_is_left_by_the_hysteresis()
    {
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy below(&input, &Analog_input_interface::min_pass);
        QSignalSpy above(&input, &Analog_input_interface::max_pass);
        const Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        input.set_hysteresis(0.5);
        input.set_min_value(2.0);
        input.set_max_value(4.0);
        // Below, still below, at the limit, back but not far enough, below, far
        // enough, below.
        for (const uint reading : {1000U, 1250U, 2000U, 2500U, 1000U, 2750U, 1000U})
            offer(input, millivolts(reading));
        QCOMPARE(seen(below), (QList<QVariantList>{{1.0}, {1.0}}));
        QCOMPARE(above.count(), 0);
        QCOMPARE(errors.text(),
                 QByteArray("Updated val=1 min=1 Changed\nUpdated val=1.25 min=0 !Changed\n"
                            "Updated val=2 Changed\nUpdated val=2.5 !Changed\n"
                            "Updated val=1 min=0 Changed\nUpdated val=2.75 Changed\n"
                            "Updated val=1 min=1 Changed\n"));
        // The same at the upper end.
        for (const uint reading : {5000U, 4750U, 4000U, 3500U, 5000U, 3250U, 5000U})
            offer(input, millivolts(reading));
        QCOMPARE(seen(above), (QList<QVariantList>{{5.0}, {5.0}}));
        QCOMPARE_ENDS(errors.text(),
                      "Updated val=5 max=1 Changed\nUpdated val=4.75 max=0 !Changed\n"
                      "Updated val=4 Changed\nUpdated val=3.5 !Changed\nUpdated val=5 max=0 "
                      "Changed\n"
                      "Updated val=3.25 Changed\nUpdated val=5 max=1 Changed\n");
    }

    void crossed_limits_are_both_passed()
    {
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy below(&input, &Analog_input_interface::min_pass);
        QSignalSpy above(&input, &Analog_input_interface::max_pass);
        const Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        input.set_min_value(3.0);
        input.set_max_value(1.0);
        offer(input, millivolts(2000));
        QCOMPARE(seen(below), QList<QVariantList>{{2.0}});
        QCOMPARE(seen(above), QList<QVariantList>{{2.0}});
        QCOMPARE(errors.text(), QByteArray("Updated val=2 min=1 max=1 Changed\n"));
    }

    /// In the order of the text, and before the value is kept.
    void it_signals_between_its_words()
    {
        auto& input = make<Analog_input_interface>(true);
        const Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        QStringList seen_then;
        const auto note = [&] {
            QCOMPARE(value_of(input), -1000000.0);
            seen_then.append(QString::fromLatin1(errors.text()));
        };
        connect(&input, &Analog_input_interface::min_pass, this, note);
        connect(&input, &Analog_input_interface::max_pass, this, note);
        connect(&input, &Analog_input_interface::val_changed, this, note);
        input.set_min_value(3.0);
        input.set_max_value(1.0);
        offer(input, millivolts(2000));
        QCOMPARE(seen_then, (QStringList{QStringLiteral("Updated val=2"),
                                         QStringLiteral("Updated val=2 min=1"),
                                         QStringLiteral("Updated val=2 min=1 max=1 Changed")}));
        QCOMPARE(value_of(input), 2.0);
    }

    void no_number_as_a_limit_is_never_passed()
    {
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy below(&input, &Analog_input_interface::min_pass);
        QSignalSpy above(&input, &Analog_input_interface::max_pass);
        QSignalSpy changed(&input, &Analog_input_interface::val_changed);
        const Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        input.set_min_value(not_a_number);
        input.set_max_value(not_a_number);
        input.set_hysteresis(not_a_number);
        offer(input, millivolts(2000));
        QVERIFY(std::isnan(output_of(input, &Analog_input_interface::get_hysteresis)));
        QCOMPARE(below.count() + above.count() + changed.count(), 0);
        QCOMPARE(errors.text(), QByteArray("Updated val=2 !Changed\n"));
        QCOMPARE(value_of(input), 2.0);
    }

    void extreme_limits_and_thresholds()
    {
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy below(&input, &Analog_input_interface::min_pass);
        QSignalSpy above(&input, &Analog_input_interface::max_pass);
        QSignalSpy changed(&input, &Analog_input_interface::val_changed);
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        input.set_min_value(infinite);
        input.set_max_value(-huge);
        input.set_hysteresis(infinite);
        offer(input, millivolts(2000));
        offer(input, millivolts(2000));
        QCOMPARE(below.count(), 1);
        QCOMPARE(above.count(), 1);
        QCOMPARE(changed.count(), 0);
        input.set_hysteresis(-infinite); // any reading is a change
        offer(input, millivolts(2000));
        offer(input, millivolts(2000));
        QCOMPARE(changed.count(), 2);
    }

    void latched_limits_survive_new_limits()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        const Captured_descriptor output(STDOUT_FILENO);
        auto& input = make<Analog_input_interface>(true);
        QSignalSpy below(&input, &Analog_input_interface::min_pass);
        input.set_min_value(2.0);
        offer(input, "1e03e8");
        input.set_min_value(3.0);
        offer(input, "1e03e8");
        QCOMPARE(below.count(), 1);
    }

    void reported_change_restarts_the_period()
    {
        const Captured_descriptor errors(STDERR_FILENO);
        auto& input = make<Analog_input_interface>(true);
        input.set_time_out(4000000000U);
        QCOMPARE(output_of(input, &Analog_input_interface::get_time_out), 4000000000U);
        const auto* timer = input.findChild<QTimer*>();
        QCOMPARE(timer->interval(), 2147483647);
        constexpr int period_ms = 500000;
        input.set_time_out(period_ms);
        QCOMPARE(timer->interval(), period_ms);
        WAIT_UNTIL(timer->remainingTime(), <, period_ms - 100);
        input.set_hysteresis(1.0);
        const Captured_descriptor output(STDOUT_FILENO);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(offer(input, "1e1000"));
        // However long ago that was; both count whole milliseconds.
        const int left = timer->remainingTime();
        QCOMPARE_GE(left + clock.elapsed(), period_ms - 2);
        input.set_time_out(0);
        QVERIFY(input.findChild<QTimer*>() == nullptr);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Analog_input>(count, arguments, "<power/>");
}
#include "analog_input_interface.moc"
