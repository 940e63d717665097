// Rules that the sources and their tests keep, checked on their text.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

namespace {

struct Exception {
    const char* name; ///< as the test's file is called, or would be
    const char* reason;
};

/// Tests that are not named after a source.
constexpr Exception other_tests[] = {
    {"dbus_daemon_run", "DBus_daemon::run(), which ends a process's only daemon"},
    {"dbus_daemon_with_nothing", "DBus_daemon without a configuration and without a link"},
    {"line_sequence", "the classes of the link together, by random steps"},
    {"posix_serial_port_device", "Posix_serial_port, with a device in the C library's place"},
    {"sources", "all sources, as text"},
};

/// Sources that have no test of their own.
constexpr Exception untested_sources[] = {
    {"bus_names", "names alone, which unit.object_catalogue and every functional test use"},
    {"console", "its streams are unit.text_stream; their opening is functional.surroundings"},
    {"device_object", "numbers alone, of unit.object_catalogue"},
    {"device_objects", "an array of pointers, which unit.object_table reads and empties"},
    {"field", "rows and their types, of unit.field_catalogue and unit.named_field"},
    {"main", "the entry point: the functional tests"},
    {"message", "eight bytes and a name for them"},
    {"message_id", "numbers alone, of unit.message_catalogue"},
    {"object_kind", "a row's type, of unit.object_kinds"},
    {"paths", "a test has paths of its own: functional.real_paths"},
    {"poll", "numbers alone, of unit.periodic_poll and the document of times"},
    {"qt_bus_internals", "unit.bus_connection, with each of them there and lacking"},
    {"reported_number", "what the inputs share: unit.analog_input_interface"},
    {"shell", "unit.power_interface and unit.buzzer_interface; signals are functional.lifecycle"},
    {"simulator", "functional.simulator, from the other end of its line"},
    {"text_first", "the order of texts and signals is functional.output_order"},
};

template <std::size_t size>
QStringList names_of(const Exception (&exceptions)[size])
{
    QStringList names;
    for (const Exception& exception : exceptions)
        names.append(QString::fromLatin1(exception.name));
    return names;
}

} // namespace

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
            const auto line = file.second.left(match.capturedStart()).count(QLatin1Char('\n')) + 1;
            if (match.hasMatch() && !file.first.endsWith(QLatin1String(except)))
                found.append(QStringLiteral("%1:%2: %3")
                                 .arg(QDir::cleanPath(file.first))
                                 .arg(line)
                                 .arg(match.captured()));
        }
        return found;
    }

    /// The files in a directory and below it, as tests are named after them; each once and sorted.
    static QStringList base_names(const QString& below, const QStringList& patterns)
    {
        QSet<QString> names;
        QDirIterator it(below, patterns, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            names.insert(QFileInfo(it.next()).completeBaseName().toLower());
        QStringList sorted = names.values();
        sorted.sort();
        return sorted;
    }

    static QStringList without(QStringList names, const QStringList& others)
    {
        for (const QString& other : others)
            names.removeAll(other);
        return names;
    }

private Q_SLOTS:
    void there_are_sources() { QCOMPARE_GT(files(QString()).size(), 60); }

    void tests_are_named_after_sources()
    {
        const QStringList sources = base_names(QStringLiteral(DOV_SOURCES),
                                               {QStringLiteral("*.cpp"), QStringLiteral("*.h")});
        const QStringList tests =
            base_names(QStringLiteral(DOV_UNIT_TESTS), {QStringLiteral("*.cpp")});
        const QStringList others = names_of(other_tests);
        const QStringList untested = names_of(untested_sources);
        const auto named = [](const QStringList& names) { return names.join(QLatin1Char(' ')); };
        QVERIFY2(
            without(tests, sources + others).isEmpty(),
            qPrintable(QStringLiteral("tests/unit has tests that are named after no source: ") +
                       named(without(tests, sources + others)) +
                       QStringLiteral("\nName each after the source that it tests, or say in "
                                      "other_tests why it is not.")));
        QVERIFY2(without(sources, tests + untested).isEmpty(),
                 qPrintable(QStringLiteral("sources without a test in tests/unit: ") +
                            named(without(sources, tests + untested)) +
                            QStringLiteral("\nWrite one, or say in untested_sources what tests "
                                           "it.")));
        // What stands in a table and is true no longer.
        QCOMPARE(without(others, tests), QStringList());
        QCOMPARE(without(untested, sources), QStringList());
        QCOMPARE(without(untested, without(untested, tests)), QStringList());
    }

    /// Tests are called in lower case, what they share is not.
    void every_test_is_built()
    {
        QStringList forgotten;
        const QDir tests(QStringLiteral(DOV_UNIT_TESTS "/.."));
        QDirIterator it(tests.path(), {QStringLiteral("CMakeLists.txt")}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QFile list(it.next());
            QVERIFY2(list.open(QIODevice::ReadOnly), qPrintable(list.fileName()));
            const QString text = QString::fromUtf8(list.readAll());
            for (const QFileInfo& file : QFileInfo(list).dir().entryInfoList(
                     {QStringLiteral("*.cpp")}, QDir::Files, QDir::Name)) {
                const QRegularExpression word(QStringLiteral("\\b%1\\b").arg(file.baseName()));
                if (file.baseName().front().isLower() && !word.match(text).hasMatch())
                    forgotten.append(tests.relativeFilePath(file.filePath()) +
                                     QStringLiteral(": CMakeLists.txt beside it does not name it"));
            }
        }
        QCOMPARE_EMPTY(forgotten);
    }

    void absolute_paths_stand_in_one_place()
    {
        QCOMPARE_EMPTY(matches(QString(), "\"[^\"\\n]*/(etc|tmp|dev|nv|media)/[^\"\\n]*\"(?!\\.)",
                               "/Paths.cpp"));
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
        QCOMPARE_EMPTY(matches(room, qPrintable(pattern), "-"));
    }

    void texts_go_through_the_console()
    {
        QCOMPARE_EMPTY(matches(
            QString(), "\\b(printf|puts|putchar|fputs|std::cout|std::cerr|qDebug)\\b *[(<]", "-"));
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
            {"bytes of a frame as text", "(?i)\"[^\"\\n]*18 ?ef[^\"\\n]*\""},
            {"comment on bytes", "// .*\\b[Bb]ytes? [0-7]\\b"},
        };
        for (const char* below : {"../src", "../tools", "../bench/load"}) {
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
        QCOMPARE_EMPTY(found);
    }

    void source_places_are_literal()
    {
        QCOMPARE_EMPTY(matches(QString(), "__FILE__|__LINE__", "-"));
    }
};

QTEST_GUILESS_MAIN(Sources)
#include "sources.moc"
