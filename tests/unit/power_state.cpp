#include "Power_state.h"

class Power_state_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numbers_names_and_times()
    {
        QCOMPARE(int{state_on}, 0);
        QCOMPARE(int{state_low_power}, 1);
        QCOMPARE(int{state_sleep}, 2);
        QCOMPARE(power_state_name(0), "on");
        QCOMPARE(power_state_name(1), "low-power");
        QCOMPARE(power_state_name(2), "sleep");
        QCOMPARE(power_state_name(3), "null");
        QCOMPARE(power_state_name(-1), "null");
        QCOMPARE(default_state_timeouts[0], -1);
        QCOMPARE(default_state_timeouts[1], 100);
        QCOMPARE(default_state_timeouts[2], 100);
    }
};

QTEST_GUILESS_MAIN(Power_state_test)
#include "power_state.moc"
