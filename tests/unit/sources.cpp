// Rules that the sources keep, checked on their text.

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

class Sources : public QObject {
    Q_OBJECT

    static QList<QPair<QString, QString>> files(const QString& below)
    {
        QList<QPair<QString, QString>> found;
        QDirIterator it(QStringLiteral(DOV_SOURCES "/") + below,
                        {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile file(it.next());
            if (!file.open(QIODevice::ReadOnly))
                qFatal("cannot read %s", qPrintable(file.fileName()));
            found.append({file.fileName(), QString::fromUtf8(file.readAll())});
        }
        return found;
    }

    static QStringList matches(const QString& below, const char* pattern, const char* except)
    {
        QStringList found;
        for (const auto& file : files(below)) {
            const auto match = QRegularExpression(QLatin1String(pattern)).match(file.second);
            if (match.hasMatch() && !file.first.endsWith(QLatin1String(except)))
                found.append(file.first + QLatin1String(": ") + match.captured());
        }
        return found;
    }

private Q_SLOTS:
    void there_are_sources() { QVERIFY(files(QString()).size() > 60); }

    void absolute_paths_stand_in_one_place()
    {
        QCOMPARE(matches(QString(), "\"[^\"\\n]*/(etc|tmp|dev|nv|media)/[^\"\\n]*\"(?!\\.)",
                         "/Paths.cpp"),
                 QStringList());
    }

    void link_knows_nothing_of_what_lies_above()
    {
        QCOMPARE(matches(QStringLiteral("serial"),
                         "#include [<\"](QDBus|QtDBus|QDom|QtXml|\\.\\./|interfaces|DBus_daemon|"
                         "Interface_base|Paths|Logger)",
                         "-"),
                 QStringList());
    }

    void texts_go_through_the_console()
    {
        QCOMPARE(matches(QString(),
                         "\\b(printf|puts|putchar|fputs|std::cout|std::cerr|qDebug)\\b *[(<]", "-"),
                 QStringList());
    }

    void source_places_are_literal()
    {
        QCOMPARE(matches(QString(), "__FILE__|__LINE__", "-"), QStringList());
    }
};

QTEST_APPLESS_MAIN(Sources)
#include "sources.moc"
