// Which locale the programs run in.

#include "Locale.h"

#include <QTest>

class Locale_test : public QObject {
    Q_OBJECT

    static QByteArray with(const char* locale)
    {
        qputenv("LC_ALL", locale);
        return use_utf8_locale() ? "UTF-8" : "another";
    }

private Q_SLOTS:
    void cleanup() { qputenv("LC_ALL", "C.UTF-8"); }

    void one_of_utf8_stays()
    {
        QCOMPARE(with("C.UTF-8"), QByteArray("UTF-8"));
        QCOMPARE(qgetenv("LC_ALL"), QByteArray("C.UTF-8"));
    }

    void another_is_changed_for_qt_6()
    {
        for (const char* const locale : {"C", "POSIX", "of no language"}) {
            QCOMPARE(with(locale), QByteArray("another"));
            QCOMPARE(qgetenv("LC_ALL"), QByteArray(QT_VERSION_MAJOR < 6 ? locale : "C.UTF-8"));
        }
    }
};

QTEST_GUILESS_MAIN(Locale_test)
#include "locale.moc"
