// The inputs: decoding, thresholds, limits and re-reports.

#include "Ambientlight_input_interface.h"
#include "Analog_input_interface.h"
#include "Captured_console.h"
#include "Digital_input_interface.h"
#include "Frequency_input_interface.h"
#include "Objects.h"
#include "Temperature_input_interface.h"
#include "Test_daemon.h"
#include "Voltage_input_interface.h"
#include "Waiting.h"

#include <QSignalSpy>
#include <QTimer>

#include <cmath>

class Input_objects : public QObject {
    Q_OBJECT
public:
    explicit Input_objects(Test_daemon& world) : world_(world) {}

private:
    Test_daemon& world_;

    /// An input object of the given kind, which the daemon owns.
    template <class Object, class... More>
    Object& make(More... more)
    {
        return *new Object(world_.daemon, QStringLiteral("input"), more...);
    }

    Analog_input_interface& make_input(const QString& kind, uint channel)
    {
        if (kind == QLatin1String("analog"))
            return make<Analog_input_interface>(true);
        if (kind == QLatin1String("light"))
            return make<Ambientlight_input_interface>();
        if (kind == QLatin1String("voltage"))
            return make<Voltage_input_interface>(channel);
        return make<Temperature_input_interface>(channel);
    }

    static QByteArray millivolts(uint value)
    {
        return "1e" + QByteArray::number(value, 16).rightJustified(4, '0');
    }

    static double value_of(Analog_input_interface& input)
    {
        return output_of(input, &Analog_input_interface::get_value);
    }

private Q_SLOTS:
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void digital_input_reads_the_bit_of_its_channel_data()
    {
        QTest::addColumn<uint>("channel");
        QTest::addColumn<QByteArray>("on");
        QTest::addColumn<QByteArray>("off");
        QTest::newRow("0") << 0U << QByteArray("01") << QByteArray("fe");
        QTest::newRow("1") << 1U << QByteArray("02") << QByteArray("fd");
        QTest::newRow("2") << 2U << QByteArray("04") << QByteArray("fb");
        QTest::newRow("3") << 3U << QByteArray("08") << QByteArray("f7");
    }
    void digital_input_reads_the_bit_of_its_channel()
    {
        QFETCH(uint, channel);
        QFETCH(QByteArray, on);
        QFETCH(QByteArray, off);
        for (const QByteArray id : {"10", "36"}) {
            auto& input = make<Digital_input_interface>(channel);
            QSignalSpy spy(&input, &Digital_input_interface::changed);
            const Captured_descriptor errors(STDERR_FILENO);
            QVERIFY(!output_of(input, &Digital_input_interface::is_on, true));
            QVERIFY(offer(input, id + on));
            QVERIFY(output_of(input, &Digital_input_interface::is_on));
            QVERIFY(offer(input, id + off));
            QVERIFY(!output_of(input, &Digital_input_interface::is_on, true));
            QCOMPARE(seen(spy), (QList<QVariantList>{{true}, {false}}));
        }
    }

    void digital_input_says_what_it_did()
    {
        auto& input = make<Digital_input_interface>(2U);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(input, "3604000000000000")); // changed
        QVERIFY(offer(input, "3604000000000000")); // not, and silent
        QVERIFY(offer(input, "1004000000000000")); // not, and said
        QVERIFY(offer(input, "1000"));             // changed
        QVERIFY(offer(input, "1000"));
        QCOMPARE(errors.text(), QByteArray("Changed id=6 len=8\n"
                                           "UnChanged id=\x10 dio=2 val=1\n"
                                           "Changed id=\x10 len=2\n"
                                           "UnChanged id=\x10 dio=2 val=0\n"));
    }

    void digital_input_has_its_value_before_it_signals()
    {
        auto& input = make<Digital_input_interface>(0U);
        Captured_descriptor errors(STDERR_FILENO);
        QStringList seen_then;
        connect(&input, &Digital_input_interface::changed, this, [&](bool on) {
            QCOMPARE(output_of(input, &Digital_input_interface::is_on, !on), on);
            seen_then.append(QString::fromLatin1(errors.text()));
        });
        QVERIFY(offer(input, "3601"));
        QCOMPARE(seen_then, QStringList{QStringLiteral("Changed id=6 len=2\n")});
    }

    void digital_input_refuses_other_messages()
    {
        auto& input = make<Digital_input_interface>(0U);
        QSignalSpy spy(&input, &Digital_input_interface::changed);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(input, "06ff000000000000"));
        QVERIFY(!offer(input, "36"));
        QCOMPARE(spy.count(), 0);
        QCOMPARE(errors.text(), QByteArray("Unhandled id=6 len=8\nUnhandled id=54 len=1\n"));
    }

    void readings_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<uint>("channel");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<double>("value");
        const auto row = [](const char* kind, uint channel, const char* message, double value) {
            QTest::addRow("%s %u %s", kind, channel, message)
                << QString::fromLatin1(kind) << channel << QByteArray(message) << value;
        };
        row("analog", 0, "3600040100000000", 1.025);
        row("analog", 0, "3600ffff00000000", 65.535);
        row("analog", 0, "1e04010000000000", 1.025);
        row("analog", 0, "1e0000", 0.0);
        row("light", 0, "3600000009c40000", 2500 * 0.001 * 100 / 4.995);
        row("light", 0, "2009c40000000000", 2500 * 0.001 * 100 / 4.995);
        row("light", 0, "2013830000000000", 100.0); // 4995
        row("light", 0, "2013880000000000", 100.0); // 5000
        row("light", 0, "20ffff", 100.0);
        row("light", 0, "200000", 0.0);
        row("voltage", 0, "22010200000000ff", 0.258);
        row("voltage", 1, "2200000102000000", 0.258);
        row("voltage", 2, "2200000000010200", 0.258);
        row("voltage", 3, "2401020000000000", 0.258);
        row("voltage", 4, "2400000102000000", 0.258);
        row("voltage", 5, "2400000000010200", 0.258);
        row("voltage", 5, "2200000000010200", 0.258);
        row("voltage", 0, "24010200000000ff", 0.258);
        row("temperature", 0, "28f6000000000000", -10.0);
        row("temperature", 1, "2800f60000000000", -10.0);
        row("temperature", 2, "280000f600000000", -10.0);
        row("temperature", 3, "28000000f6000000", -10.0);
        row("temperature", 4, "2800000000f60000", -10.0);
        row("temperature", 5, "280000000000f6", -10.0);
        row("temperature", 0, "287f", 127.0);
        row("temperature", 0, "2880", -128.0);
    }
    void readings()
    {
        QFETCH(QString, kind);
        QFETCH(uint, channel);
        QFETCH(QByteArray, message);
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        Analog_input_interface& input = make_input(kind, channel);
        QCOMPARE(value_of(input), -1000000.0);
        QVERIFY(offer(input, message));
        QTEST(value_of(input), "value");
    }

    void other_messages_are_refused_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<uint>("channel");
        QTest::addColumn<QByteArray>("message");
        const auto row = [](const char* kind, uint channel, const char* message) {
            QTest::addRow("%s %u %s", kind, channel, message)
                << QString::fromLatin1(kind) << channel << QByteArray(message);
        };
        row("analog", 0, "200000");
        row("analog", 0, "1e00");
        row("analog", 0, "360000");
        row("light", 0, "1e0000");
        row("light", 0, "2000");
        row("light", 0, "3600000000");
        row("voltage", 0, "280000000000000000");
        row("voltage", 2, "220000000000");
        row("temperature", 5, "280000000000");
        row("temperature", 0, "2200000000000000");
    }
    void other_messages_are_refused()
    {
        QFETCH(QString, kind);
        QFETCH(uint, channel);
        QFETCH(QByteArray, message);
        Analog_input_interface& input = make_input(kind, channel);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(input, message));
        QCOMPARE(value_of(input), -1000000.0);
        const QByteArray bytes = QByteArray::fromHex(message);
        QCOMPARE(errors.text(), "Unhandled id=" + QByteArray::number(uchar(bytes[0])) +
                                    " len=" + QByteArray::number(bytes.size()) + "\n");
    }

    void single_readings_are_traced_and_digests_are_not()
    {
        auto& analog = make<Analog_input_interface>(true);
        auto& light = make<Ambientlight_input_interface>();
        const Captured_descriptor errors(STDERR_FILENO);
        Captured_descriptor output(STDOUT_FILENO);
        offer(analog, "1e0abc00000000ff");
        offer(light, "200abc");
        offer(analog, "3600abcd00000000");
        offer(light, "3600abcd00000000");
        QCOMPARE(output.text(), QByteArray("ARAW: 1E0ABC00000000FF: 2.748\nLRAW: 200ABC: 2.748\n"));
    }

    void starting_values()
    {
        auto& input = make<Analog_input_interface>(true);
        QCOMPARE(value_of(input), -1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_hysteresis), 1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_min_value), -1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_max_value), 1000000.0);
        QCOMPARE(output_of(input, &Analog_input_interface::get_time_out, 1U), 0U);
        auto& frequency = make<Frequency_input_interface>();
        QCOMPARE(output_of(frequency, &Frequency_input_interface::get_value), -1000000.0);
        QCOMPARE(output_of(frequency, &Frequency_input_interface::get_hysteresis), 1000000.0);
        QCOMPARE(output_of(frequency, &Frequency_input_interface::get_time_out, 1U), 0U);
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
        offer(input, millivolts(0)); // exactly the hysteresis away, which is not enough
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
        // Below, still below, at the limit, back but not far enough, below, far enough, below.
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
        QVERIFY(errors.text().endsWith(
            "Updated val=5 max=1 Changed\nUpdated val=4.75 max=0 !Changed\n"
            "Updated val=4 Changed\nUpdated val=3.5 !Changed\nUpdated val=5 max=0 Changed\n"
            "Updated val=3.25 Changed\nUpdated val=5 max=1 Changed\n"));
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
    void analog_input_signals_between_its_words()
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
        QVERIFY(input.findChildren<QTimer*>().isEmpty());
        QCOMPARE(output_of(input, &Analog_input_interface::get_time_out, 1U), 0U);
        input.set_time_out(200);
        input.set_time_out(300);
        QCOMPARE(input.findChildren<QTimer*>().size(), 1);
        input.set_time_out(0);
        QVERIFY(input.findChildren<QTimer*>().isEmpty());
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

    void frequency_reads_the_last_two_bytes_of_the_digest()
    {
        auto& input = make<Frequency_input_interface>();
        QSignalSpy changed(&input, &Frequency_input_interface::val_changed);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(input, "3600000000000000"));
        QVERIFY(offer(input, "360000000000abcd"));
        QVERIFY(offer(input, "3600000000000001"));
        QCOMPARE(seen(changed), (QList<QVariantList>{{43981.0, false}}));
        QCOMPARE(output_of(input, &Frequency_input_interface::get_value), 1.0);
        input.set_hysteresis(2.0);
        QCOMPARE(output_of(input, &Frequency_input_interface::get_hysteresis), 2.0);
        QVERIFY(offer(input, "360000000000abcb")); // 2 away from the reported value
        QVERIFY(offer(input, "360000000000abca"));
        QCOMPARE(changed.count(), 2);
        input.set_hysteresis(not_a_number);
        QVERIFY(offer(input, "3600000000000000"));
        QVERIFY(!offer(input, "36000000000000"));
        QVERIFY(!offer(input, "1e00000000000000"));
        QCOMPARE(errors.text(), QByteArray("Updated val=0 !Changed\nUpdated val=43981 Changed\n"
                                           "Updated val=1 !Changed\nUpdated val=43979 !Changed\n"
                                           "Updated val=43978 Changed\nUpdated val=0 !Changed\n"
                                           "Unhandled id=54 len=7\nUnhandled id=30 len=8\n"));
        changed.clear();
        input.handle_timeout();
        QCOMPARE(seen(changed), (QList<QVariantList>{{0.0, true}}));
    }

    void only_a_reported_change_restarts_the_period()
    {
        auto& analog = make<Analog_input_interface>(true);
        auto& frequency = make<Frequency_input_interface>();
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        analog.set_time_out(500000);
        analog.set_min_value(1.0);
        frequency.set_time_out(500000);
        const auto* analog_timer = analog.findChild<QTimer*>();
        const auto* frequency_timer = frequency.findChild<QTimer*>();
        offer(analog, millivolts(5000)); // the first change
        offer(frequency, "3600000000000005");
        constexpr int left = 499900;
        QTRY_VERIFY(analog_timer->remainingTime() < left);
        QTRY_VERIFY(frequency_timer->remainingTime() < left);
        offer(analog, millivolts(500)); // passes the limit and is no change
        analog.handle_timeout();
        offer(frequency, "3600000000000006");
        frequency.handle_timeout();
        QVERIFY(analog_timer->remainingTime() < left);
        QVERIFY(frequency_timer->remainingTime() < left);
        analog.set_time_out(500000); // the same again begins a new one
        QVERIFY(analog_timer->remainingTime() > left);
    }

    void frequency_change_restarts_the_period()
    {
        auto& input = make<Frequency_input_interface>();
        input.set_time_out(500000);
        input.set_hysteresis(1.0);
        auto* timer = input.findChild<QTimer*>();
        QTRY_VERIFY(timer->remainingTime() < 500000);
        const int before = timer->remainingTime();
        const Captured_descriptor errors(STDERR_FILENO);
        offer(input, "3600000000001000");
        QVERIFY(timer->remainingTime() > before);
        QVERIFY(timer->isActive());
        input.set_time_out(0);
        QVERIFY(input.findChildren<QTimer*>().isEmpty());
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Input_objects>(count, arguments, "<power/>");
}
#include "input_objects.moc"
