#pragma once

#include "Analog_input_interface.h"
#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

/// What each kind of measured input is tested for: what it reads, and what it refuses.
class Input_test : public Daemon_test {
public:
    using Daemon_test::Daemon_test;

protected:
    static double value_of(Analog_input_interface& input)
    {
        return output_of(input, &Analog_input_interface::get_value);
    }

    static void add_reading_columns()
    {
        add_refused_columns();
        QTest::addColumn<double>("value");
    }
    static void add_reading(uint channel, const char* message, double value)
    {
        QTest::addRow("%u %s", channel, message) << channel << QByteArray(message) << value;
    }

    /// The input's value is the row's once it has the row's message.
    static void check_reading(Analog_input_interface& input)
    {
        QFETCH(QByteArray, message);
        const Captured_descriptor output(STDOUT_FILENO);
        const Captured_descriptor errors(STDERR_FILENO);
        QCOMPARE(value_of(input), -1000000.0);
        QVERIFY(offer(input, message));
        QTEST(value_of(input), "value");
    }

    static void add_refused_columns()
    {
        QTest::addColumn<uint>("channel");
        QTest::addColumn<QByteArray>("message");
    }
    static void add_refused(uint channel, const char* message)
    {
        QTest::addRow("%u %s", channel, message) << channel << QByteArray(message);
    }

    /// The input says that it does not use the row's message, and keeps no value of it.
    static void check_refused(Analog_input_interface& input)
    {
        QFETCH(QByteArray, message);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(input, message));
        QCOMPARE(value_of(input), -1000000.0);
        const QByteArray bytes = QByteArray::fromHex(message);
        QCOMPARE(errors.text(), "Unhandled id=" + QByteArray::number(uchar(bytes[0])) +
                                    " len=" + QByteArray::number(bytes.size()) + "\n");
    }

    /// An input of the row's channel.
    template <class Input>
    Input& make_channel()
    {
        QFETCH(uint, channel);
        return make<Input>(channel);
    }
};
