#include "Catalogue_json.h"

#include <QFile>

class Catalogue_json_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void the_file_is_the_catalogue()
    {
        QFile file(QStringLiteral(DOV_SOURCES "/data/objects.json"));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QStringList kept = report::lines_of(file.readAll());
        const QStringList made = report::lines_of(catalogue_json());
        QVERIFY2(kept == made,
                 qPrintable(QStringLiteral("data/objects.json is not the catalogue\n"
                                           "to write it anew: tools/regenerate objects") +
                            report::difference(kept, made)));
    }
};

QTEST_GUILESS_MAIN(Catalogue_json_test)
#include "catalogue_json.moc"
