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

    void rooms_know_nothing_of_what_lies_above_data()
    {
        QTest::addColumn<QString>("room");
        QTest::addColumn<QString>("unknown");
        const QString daemon = QStringLiteral("interfaces|DBus_daemon|Interface_base|Logger");
        const QString libraries = QStringLiteral("QDBus|QtDBus|QDom|QtXml|\\.\\./");
        const QString link = QStringLiteral("serial_|Serial|SendQueue|Simulator|Power_controller");
        const QString bus = QStringLiteral("Bus_connection|Signal_relay|Object_holder");
        const auto any_of = [](const QStringList& names) { return names.join(QLatin1Char('|')); };
        QTest::newRow("base") << QStringLiteral("base")
                              << any_of({daemon, libraries, link, bus, QStringLiteral("Message")});
        QTest::newRow("protocol") << QStringLiteral("protocol")
                                  << any_of({daemon, libraries, link, bus,
                                             QStringLiteral("Console|Command_line|Paths")});
        QTest::newRow("catalogue")
            << QStringLiteral("catalogue")
            << any_of({daemon, libraries, link, bus,
                       QStringLiteral("Console|Command_line|Message|Paths")});
        QTest::newRow("serial") << QStringLiteral("serial") << any_of({daemon, libraries, bus});
        QTest::newRow("bus") << QStringLiteral("bus")
                             << any_of({daemon, QStringLiteral("QDom|QtXml|\\.\\./|Paths"), link});
    }

    void rooms_know_nothing_of_what_lies_above()
    {
        QFETCH(QString, room);
        QFETCH(QString, unknown);
        const QString pattern = QStringLiteral("#include [<\"](%1)").arg(unknown);
        QCOMPARE(matches(room, qPrintable(pattern), "-"), QStringList());
    }

    void texts_go_through_the_console()
    {
        QCOMPARE(matches(QString(),
                         "\\b(printf|puts|putchar|fputs|std::cout|std::cerr|qDebug)\\b *[(<]", "-"),
                 QStringList());
    }

    void bytes_of_the_protocol_stand_in_its_room_data()
    {
        QTest::addColumn<QString>("below");
        QTest::addColumn<QString>("pattern");
        const QPair<const char*, const char*> patterns[] = {
            {"code or constant of the frame", "(?i)\\b0x(18|ef|59|78|d8|aa|55|fe)\\b"},
            {"byte by number",
             "\\b(data|buf|bytes|command|request|answer|message|frame|payload|report)"
             "(\\[[1-9]\\]| \\+ [1-9])"},
            {"arguments by position", "\\bmessage\\((Message_id::\\w+|id), "},
            {"pair of bytes", "big_endian"},
            {"comment on bytes", "// .*\\b[Bb]ytes? [0-7]\\b"},
        };
        for (const char* below : {"../src", "../tools"}) {
            for (const auto& [what, pattern] : patterns)
                QTest::addRow("%s, %s", below, what)
                    << QString::fromLatin1(below) << QString::fromLatin1(pattern);
        }
    }

    void bytes_of_the_protocol_stand_in_its_room()
    {
        QFETCH(QString, below);
        QFETCH(QString, pattern);
        QStringList found = matches(below, qPrintable(pattern), "-");
        found = found.filter(QRegularExpression(QStringLiteral("^(?!.*/src/protocol/)")));
        QCOMPARE(found.join(QLatin1Char('\n')), QString());
    }

    void source_places_are_literal()
    {
        QCOMPARE(matches(QString(), "__FILE__|__LINE__", "-"), QStringList());
    }
};

QTEST_APPLESS_MAIN(Sources)
#include "sources.moc"
