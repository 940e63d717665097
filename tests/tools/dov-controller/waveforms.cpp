// Waveforms: values at given times, and that they are functions of the time alone.

#include "Waveform.h"

#include <QTest>

#include <cmath>

using Shape = Waveform::Shape;

class Waveforms : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void values_at_the_quarters_of_a_period_data()
    {
        QTest::addColumn<int>("shape");
        QTest::addColumn<QVector<double>>("values");
        const auto row = [](const char* name, Shape shape, const QVector<double>& values) {
            QTest::newRow(name) << static_cast<int>(shape) << values;
        };
        row("sine", Shape::sine, {200, 300, 200, 100, 200});
        row("triangle", Shape::triangle, {100, 200, 300, 200, 100});
        row("square", Shape::square, {100, 100, 300, 300, 100});
        row("ramp", Shape::ramp, {100, 150, 200, 250, 100});
    }

    void values_at_the_quarters_of_a_period()
    {
        QFETCH(int, shape);
        QFETCH(QVector<double>, values);
        const Waveform waveform = Waveform::periodic(static_cast<Shape>(shape), 100, 300, 4000);
        for (int i = 0; i < values.size(); ++i) {
            // Each period is like the first.
            for (const qint64 period : {0, 1, 250000})
                QVERIFY2(std::abs(waveform.at(period * 4000 + i * 1000) - values[i]) < 1e-6,
                         qPrintable(QString::number(waveform.at(i * 1000))));
        }
    }

    void constant_is_constant()
    {
        for (const qint64 time : {0, 1, 999, 123456789})
            QCOMPARE(Waveform::constant(-7.5).at(time), -7.5);
    }

    void falls_as_well_as_rises_when_low_is_above_high()
    {
        const Waveform waveform = Waveform::periodic(Shape::ramp, 300, 100, 1000);
        QCOMPARE(waveform.at(0), 300.0);
        QCOMPARE(waveform.at(500), 200.0);
    }

    void random_holds_for_a_period_and_repeats_with_its_seed()
    {
        const Waveform one = Waveform::random(10, 20, 100, 7);
        const Waveform same = Waveform::random(10, 20, 100, 7);
        const Waveform other = Waveform::random(10, 20, 100, 8);
        int differing = 0;
        double sum = 0;
        for (qint64 step = 0; step < 1000; ++step) {
            const double value = one.at(step * 100);
            QVERIFY(value >= 10 && value < 20);
            QCOMPARE(one.at(step * 100 + 99), value);
            QCOMPARE(same.at(step * 100), value);
            differing += other.at(step * 100) != value ? 1 : 0;
            sum += value;
        }
        QCOMPARE(differing, 1000);
        QCOMPARE_LT(std::abs(sum / 1000 - 15), 0.5);
    }
};

QTEST_GUILESS_MAIN(Waveforms)
#include "waveforms.moc"
