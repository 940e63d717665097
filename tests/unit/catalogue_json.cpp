#include "Catalogue_json.h"

#include <QFile>

class Catalogue_json_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void the_file_is_the_catalogue()
    {
        QFile file(QStringLiteral(DOV_SOURCES "/data/objects.json"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QList<QByteArray> is = file.readAll().split('\n');
        const QList<QByteArray> should_be = catalogue_json().split('\n');
        for (int i = 0; i < std::max(is.size(), should_be.size()); ++i)
            QVERIFY2(is.value(i) == should_be.value(i),
                     qPrintable(QStringLiteral("data/objects.json, line %1\nis        %2\n"
                                               "should be %3\n"
                                               "to write it anew: tools/regenerate objects")
                                    .arg(i + 1)
                                    .arg(QString::fromUtf8(is.value(i)),
                                         QString::fromUtf8(should_be.value(i)))));
    }
};

QTEST_APPLESS_MAIN(Catalogue_json_test)
#include "catalogue_json.moc"
