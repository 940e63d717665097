#include "Number_text.h"

class Number_text_test : public QObject {
    Q_OBJECT

    static QByteArray text_of(double number)
    {
        const Number_text text(number);
        return QByteArray(text.view().data(), static_cast<int>(text.view().size()));
    }

private Q_SLOTS:
    void numbers_read_as_percent_g()
    {
        for (const double number :
             {0.0, -1e6, 1e6, 0.001, 65.535, 20.600601, 5.16516516, 1e-7, 123456.789, 1234567.0})
            QCOMPARE(text_of(number), QString::asprintf("%g", number).toLatin1());
    }

    void numbers_that_come_again_read_the_same()
    {
        for (int i = 0; i < 3000; ++i) {
            const double number = (i * i % 1511 - 700) * (i % 3 == 0 ? 0.001 : 1.0);
            for (int again = 0; again < 2; ++again)
                QCOMPARE(text_of(number), QString::asprintf("%g", number).toLatin1());
        }
        QCOMPARE(text_of(-0.0), QByteArray("-0"));
        QCOMPARE(text_of(0.0), QByteArray("0"));
    }
};

QTEST_GUILESS_MAIN(Number_text_test)
#include "number_text.moc"
