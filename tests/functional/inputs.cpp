// The inputs on the bus: values, changes, limits and time-outs.

#include "Terminal.h"

#include <utility>

class Inputs : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;
    const QString analog_ = QStringLiteral("device/io/input/analog/0");
    const QString frequency_ = QStringLiteral("device/io/input/frequency/0");

    Terminal& terminal() { return *terminal_; }

    void set(const QString& path, const char* method, const QVariant& value)
    {
        const QDBusMessage reply = terminal().call(path, QLatin1String(method), {value});
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
    }

    double number(const QString& path, const char* method)
    {
        return terminal().get(path, QLatin1String(method)).toDouble();
    }

    /// Sends the analog input a value in millivolts.
    void send_analog(uint millivolts)
    {
        const QByteArray bytes = QByteArray::number(millivolts, 16).rightJustified(4, '0');
        terminal().send("1e" + bytes);
    }

    /// The signals of one object, in order.
    QList<Terminal::Signal> signals_of(const QString& path)
    {
        QList<Terminal::Signal> found;
        for (const auto& signal : terminal().seen_signals()) {
            if (signal.path == path)
                found.append(signal);
        }
        return found;
    }

private Q_SLOTS:
    void init()
    {
        terminal_ = std::make_unique<Terminal>();
        terminal_->controller.set_silent(true);
        terminal_->start();
        terminal_->clear();
    }
    void cleanup() { terminal_.reset(); }

    void starting_values()
    {
        QStringList numbers = {analog_, frequency_,
                               QStringLiteral("device/io/input/ambientlight/0")};
        for (int i = 0; i < 6; ++i) {
            numbers.append(QStringLiteral("device/io/input/voltage/%1").arg(i));
            numbers.append(QStringLiteral("device/io/input/temperature/%1").arg(i));
        }
        for (const QString& path : std::as_const(numbers)) {
            QCOMPARE(number(path, "get_value"), -1000000.0);
            QCOMPARE(number(path, "get_hysteresis"), 1000000.0);
            QCOMPARE(terminal().get(path, QStringLiteral("get_time_out")).toUInt(), 0U);
            if (path != frequency_) {
                QCOMPARE(number(path, "get_min_value"), -1000000.0);
                QCOMPARE(number(path, "get_max_value"), 1000000.0);
            }
        }
        for (int i = 0; i < 4; ++i)
            QVERIFY(!terminal()
                         .get(QStringLiteral("device/io/input/digital/%1").arg(i),
                              QStringLiteral("is_on"))
                         .toBool());
    }

    /// Its own, also where the signal is inherited.
    void signals_carry_the_interface_of_their_object()
    {
        const QString light = QStringLiteral("device/io/input/ambientlight/0");
        const QString voltage = QStringLiteral("device/io/input/voltage/5");
        const QString temperature = QStringLiteral("device/io/input/temperature/5");
        for (const QString& path : {analog_, light, voltage, temperature}) {
            set(path, "set_min_value", 1e6);
            set(path, "set_max_value", -1e6);
        }
        for (const char* message : {"3601000100010001", "24000100010001", "28010101010101"})
            terminal().send(message);
        for (const QString& path : {analog_, light, voltage, temperature}) {
            QStringList members;
            for (const auto& signal : signals_of(path))
                members.append(signal.member);
            QCOMPARE(members, (QStringList{QStringLiteral("min_pass"), QStringLiteral("max_pass"),
                                           QStringLiteral("val_changed")}));
        }
        QCOMPARE(signals_of(frequency_).size(), 1);
        QCOMPARE(signals_of(QStringLiteral("device/io/input/digital/0")).size(), 1);
        for (const auto& signal : terminal().seen_signals())
            QCOMPARE(signal.interface,
                     QStringLiteral("com.quorin.system.") +
                         signal.path.section(QLatin1Char('/'), 0, -2).replace('/', '.'));
    }

    void digital_change_is_signalled_once()
    {
        const QString path = QStringLiteral("device/io/input/digital/2");
        terminal().send("1004");
        terminal().send("1004");
        terminal().send("3604");
        QCOMPARE(signals_of(path),
                 (QList<Terminal::Signal>{{path, QStringLiteral("changed"), {true}}}));
        QVERIFY(terminal().get(path, QStringLiteral("is_on")).toBool());
        terminal().send("3600");
        QCOMPARE(signals_of(path).last(),
                 (Terminal::Signal{path, QStringLiteral("changed"), {false}}));
    }

    void unchanged_digital_is_reported_for_10_and_not_for_36()
    {
        terminal().send("1008");
        QCOMPARE(terminal().errors(), QByteArray("UnChanged id=\x10 dio=0 val=0\n"
                                                 "UnChanged id=\x10 dio=1 val=0\n"
                                                 "UnChanged id=\x10 dio=2 val=0\n"
                                                 "Changed id=\x10 len=8\n"));
        terminal().clear();
        terminal().send("1008");
        QCOMPARE_ENDS(terminal().errors(), "UnChanged id=\x10 dio=3 val=1\n");
        terminal().clear();
        terminal().send("3608");
        QCOMPARE_LACKS(terminal().errors(), "Changed id=");
        terminal().clear();
        terminal().send("3600");
        QCOMPARE_STARTS(terminal().errors(), "Changed id=6 len=8\n");
    }

    void first_positive_value_is_reported_and_no_other()
    {
        send_analog(0);
        send_analog(5000);
        send_analog(60000);
        QCOMPARE(signals_of(analog_),
                 (QList<Terminal::Signal>{{analog_, QStringLiteral("val_changed"), {5.0, false}}}));
        QCOMPARE(number(analog_, "get_value"), 60.0);
        QCOMPARE(terminal().errors(), QByteArray("Updated val=0 !Changed\nUpdated val=5 Changed\n"
                                                 "Updated val=60 !Changed\n"));
        QCOMPARE_CONTAINS(terminal().output(), "ARAW: 1E13880000000000: 5.000\n");
    }

    void change_has_to_exceed_the_hysteresis()
    {
        set(analog_, "set_hysteresis", 0.5);
        QCOMPARE(number(analog_, "get_hysteresis"), 0.5);
        send_analog(1000);
        send_analog(1500); // exactly the hysteresis is no change
        send_analog(1501);
        QCOMPARE(signals_of(analog_),
                 (QList<Terminal::Signal>{
                     {analog_, QStringLiteral("val_changed"), {1.0, false}},
                     {analog_, QStringLiteral("val_changed"), {1501 * 0.001, false}}}));
    }

    void limits_are_signalled_once_and_again_after_the_way_back()
    {
        set(analog_, "set_hysteresis", 0.5);
        set(analog_, "set_min_value", 1.0);
        set(analog_, "set_max_value", 4.0);
        QCOMPARE(number(analog_, "get_min_value"), 1.0);
        QCOMPARE(number(analog_, "get_max_value"), 4.0);
        terminal().clear();
        for (const uint millivolts : {900U, 800U, 1350U, 900U, 1501U, 900U})
            send_analog(millivolts);
        for (const uint millivolts : {4100U, 3600U, 4100U, 3499U, 4100U})
            send_analog(millivolts);
        QStringList passes;
        for (const auto& signal : signals_of(analog_)) {
            if (signal.member != QLatin1String("val_changed"))
                passes.append(signal.member + QString::number(signal.values[0].toDouble()));
        }
        QCOMPARE(passes,
                 (QStringList{QStringLiteral("min_pass0.9"), QStringLiteral("min_pass0.9"),
                              QStringLiteral("max_pass4.1"), QStringLiteral("max_pass4.1")}));
        const QList<QByteArray> lines = terminal().errors().split('\n');
        QCOMPARE(lines[0], QByteArray("Updated val=0.9 min=1 Changed"));
        QCOMPARE(lines[1], QByteArray("Updated val=0.8 min=0 !Changed"));
        QCOMPARE(lines[2], QByteArray("Updated val=1.35 !Changed"));
        QCOMPARE(lines[3], QByteArray("Updated val=0.9 min=0 !Changed"));
        QCOMPARE(lines[4], QByteArray("Updated val=1.501 Changed"));
        QCOMPARE(lines[5], QByteArray("Updated val=0.9 min=1 Changed"));
        QCOMPARE(lines[6], QByteArray("Updated val=4.1 max=1 Changed"));
        QCOMPARE(lines[7], QByteArray("Updated val=3.6 !Changed"));
        QCOMPARE(lines[8], QByteArray("Updated val=4.1 max=0 !Changed"));
        QCOMPARE(lines[9], QByteArray("Updated val=3.499 Changed"));
        QCOMPARE(lines[10], QByteArray("Updated val=4.1 max=1 Changed"));
    }

    void time_out_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("analog") << analog_;
        QTest::newRow("frequency") << frequency_;
    }
    void time_out()
    {
        QFETCH(QString, path);
        const auto time_out = [this, &path] {
            return terminal().get(path, QStringLiteral("get_time_out")).toUInt();
        };
        set(path, "set_time_out", 0U);
        QCOMPARE(time_out(), 0U);
        set(path, "set_time_out", 1U);
        QCOMPARE(time_out(), 130U);
        WAIT_UNTIL(signals_of(path).size(), >=, 3);
        QCOMPARE(signals_of(path)[0],
                 (Terminal::Signal{path, QStringLiteral("val_changed"), {-1000000.0, true}}));
        set(path, "set_time_out", 4294967295U);
        QCOMPARE(time_out(), 4294967295U);
        set(path, "set_time_out", 0U);
        QCOMPARE(time_out(), 0U);
    }

    void handle_timeout_reports_the_value_at_once()
    {
        QCOMPARE(terminal().call(analog_, QStringLiteral("handle_timeout")).type(),
                 QDBusMessage::ReplyMessage);
        QVERIFY(wait_for([this] { return !signals_of(analog_).isEmpty(); }));
        QCOMPARE(signals_of(analog_)[0],
                 (Terminal::Signal{analog_, QStringLiteral("val_changed"), {-1000000.0, true}}));
    }

    void frequency_is_unscaled_and_has_no_limits()
    {
        terminal().send("360000000000ffff");
        QCOMPARE(number(frequency_, "get_value"), 65535.0);
        QCOMPARE(signals_of(frequency_).value(0),
                 (Terminal::Signal{frequency_, QStringLiteral("val_changed"), {65535.0, false}}));
        set(frequency_, "set_hysteresis", 10.0);
        terminal().send("360000000000fff0");
        QCOMPARE(signals_of(frequency_).size(), 2);
    }

    void ambient_light_is_a_percentage_of_at_most_100()
    {
        const QString path = QStringLiteral("device/io/input/ambientlight/0");
        terminal().send("201387"); // 4999 mV
        QCOMPARE(number(path, "get_value"), 100.0);
        terminal().send("201388");
        QCOMPARE(number(path, "get_value"), 100.0);
        terminal().send("20ffff");
        QCOMPARE(number(path, "get_value"), 100.0);
        terminal().send("200001");
        QCOMPARE(number(path, "get_value"), 0.001 * 100 / 4.995);
        QCOMPARE_ENDS(terminal().output(), "LRAW: 2000010000000000: 0.001\n");
    }

    void temperatures_are_signed()
    {
        terminal().send("28f6007f80ff05");
        const QList<double> expected = {-10.0, 0.0, 127.0, -128.0, -1.0, 5.0};
        for (int i = 0; i < 6; ++i)
            QCOMPARE(number(QStringLiteral("device/io/input/temperature/%1").arg(i), "get_value"),
                     expected[i]);
    }

    void not_a_number_as_threshold_compares_false()
    {
        set(analog_, "set_hysteresis", qQNaN());
        set(analog_, "set_min_value", qQNaN());
        set(analog_, "set_max_value", qQNaN());
        send_analog(1000);
        send_analog(60000);
        QCOMPARE_EMPTY(signals_of(analog_));
        QVERIFY(qIsNaN(number(analog_, "get_hysteresis")));
    }
};

QTEST_GUILESS_MAIN(Inputs)
#include "inputs.moc"
