// What every row of the catalogue has to say.

#include "Object_catalogue.h"

#include <QSet>
#include <QStringList>

class Object_catalogue_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void every_path_and_title_stands_once()
    {
        QSet<QString> paths;
        QSet<QString> titles;
        for (const Catalogue_object& object : catalogue()) {
            const QString title =
                QString::number(static_cast<int>(object.section)) + QLatin1Char(' ') + object.title;
            QCOMPARE_LACKS(paths, object.path);
            QCOMPARE_LACKS(titles, title);
            QCOMPARE_LACKS(object.path, QLatin1Char('%'));
            QCOMPARE_LACKS(object.title, QLatin1Char('%'));
            paths += object.path;
            titles += title;
        }
        QCOMPARE(paths.size(), static_cast<int>(device_object_count));
    }

    void objects_are_shown_by_section_and_place()
    {
        QStringList shown;
        for (const Catalogue_object& object : catalogue_as_shown())
            shown += object.path.mid(static_cast<int>(qstrlen(path_prefix)));
        QCOMPARE(shown.size(), static_cast<int>(device_object_count));
        QCOMPARE(shown.mid(shown.indexOf(QStringLiteral("device/io/output/digital/2")), 6),
                 (QStringList{"device/io/output/digital/2", "device/io/output/digital/3",
                              "device/io/output/frequency/0", "device/operating_voltage",
                              "device/display/backlight", "device/buzzer"}));
        QCOMPARE(shown.last(), QStringLiteral("multi_led/19"));
    }
};

QTEST_GUILESS_MAIN(Object_catalogue_test)
#include "object_catalogue.moc"
