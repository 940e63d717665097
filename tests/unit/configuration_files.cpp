#include "Captured_console.h"
#include "OEM_profile.h"
#include "Object_catalogue.h"
#include "Power_config.h"
#include "Power_state.h"
#include "Test_root.h"
#include "Xml_limits.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

Q_DECLARE_METATYPE(Config_source)

class Configuration_files : public QObject {
    Q_OBJECT

    Test_root root_;
    const QString file_ = QStringLiteral("etc/power_manage.conf");

    QByteArray path() const { return root_.path(file_).toUtf8(); }

    std::unique_ptr<QDomDocument> power(const QByteArray& content)
    {
        root_.write(file_, content);
        std::unique_ptr<QDomDocument> document;
        if (load_power_config(document, path().constData()) != config_loaded)
            return nullptr;
        return document;
    }

    /// ASCII in the byte order that the mark tells.
    static QByteArray utf_16(const QByteArray& ascii, const QByteArray& mark)
    {
        const bool low_first = mark.startsWith('\xff');
        QByteArray all = mark;
        for (const char character : ascii) {
            all += low_first ? character : '\0';
            all += low_first ? '\0' : character;
        }
        return all;
    }

    std::unique_ptr<QDomDocument> profile(const QByteArray& content)
    {
        root_.write(file_, content);
        std::unique_ptr<QDomDocument> document;
        if (load_oem_profile(document, path().constData()) != config_loaded)
            return nullptr;
        return document;
    }

private Q_SLOTS:
    void load_results_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("power_result");
        QTest::addColumn<int>("profile_result");
        QTest::newRow("power") << QByteArray("<power/>") << 0 << -3;
        QTest::newRow("profile") << QByteArray("<profile/>") << -3 << 0;
        QTest::newRow("document name as root") << QByteArray("<PowerCntlML/>") << -3 << -3;
        QTest::newRow("OEMprofile as root") << QByteArray("<OEMprofile/>") << -3 << -3;
        QTest::newRow("case counts") << QByteArray("<Power/>") << -3 << -3;
        QTest::newRow("empty") << QByteArray() << -2 << -2;
        QTest::newRow("not closed") << QByteArray("<power>") << -2 << -2;
        QTest::newRow("two roots") << QByteArray("<power/><power/>") << -2 << -2;
        QTest::newRow("text") << QByteArray("power") << -2 << -2;
        QTest::newRow("binary") << QByteArray("\x7f"
                                              "ELF\x02\x01\x01\0\0",
                                              9)
                                << -2 << -2;
        QTest::newRow("declarations and comments")
            << QByteArray("<?xml version=\"1.0\"?><!DOCTYPE power><!-- x --><power/>") << 0 << -3;
        QTest::newRow("document type elsewhere")
            << QByteArray("<!DOCTYPE power SYSTEM \"power.dtd\"><power/>") << 0 << -3;
        QTest::newRow("public document type")
            << QByteArray("<!DOCTYPE power PUBLIC \"-//x//y\" \"http://x/y.dtd\"><power/>") << 0
            << -3;
        QTest::newRow("document type of its own")
            << QByteArray("<!DOCTYPE power [<!ELEMENT power (state*)><!ELEMENT state ANY>"
                          "<!ATTLIST state name CDATA #REQUIRED>]><power/>")
            << 0 << -3;
        QTest::newRow("processing instruction")
            << QByteArray("<?editor mode?><power><?x y?></power>") << 0 << -3;
        QTest::newRow("prefixes") << QByteArray(
                                         "<power xmlns:a=\"b\"><a:b a:c=\"\"/><d:e/></power>")
                                  << 0 << -3;
    }
    void load_results()
    {
        QFETCH(QByteArray, content);
        root_.write(file_, content);
        std::unique_ptr<QDomDocument> document;
        QTEST(load_power_config(document, path().constData()), "power_result");
        QFETCH(int, power_result);
        QCOMPARE(document == nullptr, power_result == -3);
        QTEST(load_oem_profile(document, path().constData()), "profile_result");
    }

    void harmless_files_are_loaded_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray root = "<power/>";
        const auto add = [](const char* name, const QByteArray& content) {
            QTest::newRow(name) << content;
        };
        const auto declares = [&](const char* name, const QByteArray& declarations) {
            add(name, "<!DOCTYPE power [" + declarations + "]>" + root);
        };
        const QByteArray apostrophes(9000, '\'');
        declares("entity as XML declares it", "<!ENTITY lt \"&#38;#60;\">");
        declares("entity for another entity", "<!ENTITY a \"on\"><!ENTITY b \"&a;\">");
        declares("entity that is never used",
                 "<!ENTITY a \"" + QByteArray(100, 'x') + "\">" + QByteArray(40000, ' '));
        declares("large document type", "<!--" + QByteArray(100000, 'x') + "-->");
        declares("three parameter entities", "<!ENTITY % a ' '><!ENTITY % b ' '><!ENTITY % c ' '>"
                                             "%a;%b;%c;");
        declares("apostrophes in an entity", "<!ENTITY a \"" + apostrophes + "\">");
        declares("apostrophes in a comment of the document type", "<!--" + apostrophes + "-->");
        declares("entity that refers to itself and is never used", "<!ENTITY a '&a;'>");
        declares("markup in an entity", "<!ENTITY a '<b>&c;</b>'><!ENTITY c 'd'>");
        declares("enumerated attribute", "<!ATTLIST state name (on|low-power|sleep) 'on'>");
        add("apostrophes in a comment", "<!--" + apostrophes + "-->" + root);
        add("apostrophes in text", "<power>" + apostrophes + "</power>");
        add("apostrophes in character data", "<power><![CDATA[<" + apostrophes + "]]></power>");
        add("apostrophes in an instruction", "<?x " + apostrophes + "?>" + root);
        add("entity of an entity of 10000 characters",
            "<!DOCTYPE power [<!ENTITY a '" + QByteArray(1000, 'x') +
                "'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'><!ENTITY c '&b;'><!ENTITY d ''>]>"
                "<power x='&c;'>&c;</power>");
        add("XML 1.1", "<?xml version=\"1.1\"?>" + root);
        add("XML 1.10", "<?xml version = '1.10' encoding='UTF-8' standalone='yes' ?>" + root);
        add("XML 1.1 behind a mark", "\xef\xbb\xbf<?xml version=\"1.1\"?>" + root);
        add("XML 1.1 in UTF-16, low byte first",
            utf_16("<?xml version=\"1.1\"?><power/>", "\xff\xfe"));
        add("XML 1.1 in UTF-16, high byte first",
            utf_16("<?xml version=\"1.1\"?><power/>", "\xfe\xff"));
    }
    void harmless_files_are_loaded()
    {
        QFETCH(QByteArray, content);
        const Xml_fault fault = check_xml(as_xml_1_0(content));
        QCOMPARE(fault.text, QString());
        QVERIFY(power(content) != nullptr);
    }

    void what_a_document_type_declares_data()
    {
        QTest::addColumn<QByteArray>("declarations");
        QTest::addColumn<QByteArray>("state");
        QTest::addColumn<QString>("text");
        const QByteArray device = "<device name=\"d\">&a;</device>";
        QTest::newRow("entity") << QByteArray("<!ENTITY a 'off'>") << device
                                << QStringLiteral("off");
        QTest::newRow("entity of entities") << QByteArray("<!ENTITY a 'o&b;&b;'><!ENTITY b 'f'>")
                                            << device << QStringLiteral("off");
        QTest::newRow("first of two entities")
            << QByteArray("<!ENTITY a 'on'><!ENTITY a 'off'>") << device << QStringLiteral("on");
        QTest::newRow("entity with elements")
            << QByteArray("<!ENTITY e \"<device name='d'>off</device>\">") << QByteArray("&e;")
            << QStringLiteral("off");
        QTest::newRow("entity in a name")
            << QByteArray("<!ENTITY d 'd'>") << QByteArray("<device name=\"&d;\">off</device>")
            << QStringLiteral("off");
        QTest::newRow("entity of another file")
            << QByteArray("<!ENTITY a SYSTEM '/etc/hostname'>")
            << QByteArray("<device name=\"d\">o&a;n</device>") << QStringLiteral("on");
        QTest::newRow("redefined as XML declares it")
            << QByteArray("<!ENTITY lt '&#38;#60;'>")
            << QByteArray("<device name=\"d\">&lt;</device>") << QStringLiteral("<");
        QTest::newRow("default value of an attribute")
            << QByteArray("<!ATTLIST device name CDATA 'd'>")
            << QByteArray("<device>off</device><device name=\"d\">on</device>")
            << QStringLiteral("on");
        QTest::newRow("default value, with large entities of entities")
            << "<!ATTLIST device name CDATA 'd'><!ENTITY a '" + QByteArray(5000, 'x') +
                   "'><!ENTITY b '&a;'><!ENTITY c ''>"
            << QByteArray("<device>off</device><device name=\"d\">on</device>")
            << QStringLiteral("on");
        QTest::newRow("parameter entity") << QByteArray("<!ENTITY % p \"<!ENTITY a 'off'>\">%p;")
                                          << device << QStringLiteral("off");
        QTest::newRow("blank character data")
            << QByteArray() << QByteArray("<device name=\"d\"><![CDATA[ ]]>on</device>")
            << QStringLiteral(" on");
    }
    /// The same whichever reader of XML there is.
    void what_a_document_type_declares()
    {
        QFETCH(QByteArray, declarations);
        QFETCH(QByteArray, state);
        const auto document = power("<!DOCTYPE power [" + declarations +
                                    "]><power><state name=\"on\">" + state + "</state></power>");
        QVERIFY(document != nullptr);
        const QStringList path = {QStringLiteral("state"), QStringLiteral("name"),
                                  QStringLiteral("on"),    QStringLiteral("device"),
                                  QStringLiteral("name"),  QStringLiteral("d")};
        QTEST(find_config_element(document.get(), path).text(), "text");
    }

    void document_carries_its_name()
    {
        QCOMPARE(power("<power/>")->doctype().name().isEmpty(), true);
        std::unique_ptr<QDomDocument> document;
        QCOMPARE(load_power_config(document, "/nonexistent"), -1);
        QCOMPARE(document->doctype().name(), QStringLiteral("PowerCntlML"));
        QCOMPARE(load_oem_profile(document, "/nonexistent"), -1);
        QCOMPARE(document->doctype().name(), QStringLiteral("OEMprofile"));
    }

    void files_that_cannot_be_opened()
    {
        std::unique_ptr<QDomDocument> document;
        QCOMPARE(load_power_config(document, root_.path().toUtf8().constData()), -1); // a directory
        const QByteArray pipe = root_.path(QStringLiteral("etc/pipe")).toUtf8();
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        QCOMPARE(load_power_config(document, pipe.constData()), -1);
        root_.write(QStringLiteral("etc/secret"), "<power/>");
        const QByteArray secret = root_.path(QStringLiteral("etc/secret")).toUtf8();
        QFile::setPermissions(QString::fromUtf8(secret), {});
        if (access(secret.constData(), R_OK) != 0) // root reads everything
            QCOMPARE(load_power_config(document, secret.constData()), -1);
    }

    void files_are_closed_whatever_is_in_them()
    {
        const auto open_files = [] {
            return QDir(QStringLiteral("/proc/self/fd"))
                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                .size();
        };
        const auto before = open_files();
        QVERIFY(before > 0);
        for (const char* content : {"<power/>", "<power>", "<profile/>"}) {
            root_.write(file_, content);
            std::unique_ptr<QDomDocument> document;
            load_power_config(document, path().constData());
            load_oem_profile(document, path().constData());
            QCOMPARE(open_files(), before);
        }
    }

    void hostile_files_fail_quickly_and_in_bounded_memory_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("10 MB of elements")
            << "<power>" + QByteArray("<a/>").repeated(2500000) + "</power>";
        QTest::newRow("10 MB of text") << "<power>" + QByteArray(10000000, 'x') + "</power>";
        QTest::newRow("10 MB of zeros") << QByteArray(10000000, '\0');
        QTest::newRow("deep nesting") << "<power>" + QByteArray("<a>").repeated(100000) +
                                             QByteArray("</a>").repeated(100000) + "</power>";
        const auto declares = [](const char* name, const QByteArray& declarations,
                                 const QByteArray& root) {
            QTest::newRow(name) << "<!DOCTYPE power [" + declarations + "]>" + root;
        };
        const auto entity = [](const QByteArray& name, const QByteArray& value) {
            return "<!ENTITY " + name + " \"" + value + "\">";
        };
        const auto numbered = [](int count, const char* before, const char* behind) {
            QByteArray all;
            for (int i = 0; i < count; ++i)
                all += before + QByteArray::number(i) + behind;
            return all;
        };
        QByteArray bomb = entity("a0", "lol");
        for (int i = 1; i < 20; ++i)
            bomb += entity("a" + QByteArray::number(i),
                           ("&a" + QByteArray::number(i - 1) + ";").repeated(10));
        const QByteArray large(500000, 'x');
        const QByteArray often = QByteArray("&a;").repeated(100000);
        declares("entity bomb", bomb, "<power>&a19;</power>");
        declares("entity bomb in an attribute", bomb, "<power a=\"&a19;\"/>");
        declares("entity of itself", entity("a", "&b;") + entity("b", "&a;"), "<power>&a;</power>");
        declares("large entity, often", entity("a", large), "<power>" + often + "</power>");
        declares("large entity, often, in an attribute", entity("a", large),
                 "<power a=\"" + often + "\"/>");
        declares("large entity, often, in a default value",
                 entity("a", large) + "<!ATTLIST power a CDATA \"" + often + "\">", "<power/>");
        declares("elements, often", entity("a", QByteArray("<b/>").repeated(1000)),
                 "<power>" + often + "</power>");
        declares("comments, often", entity("a", "<!--" + QByteArray(4000, 'x') + "-->"),
                 "<power>" + often + "</power>");
        declares("depth by an entity", entity("a", "<a><a><a></a></a></a>"),
                 "<power>" + QByteArray("<a>").repeated(98) + "&a;" +
                     QByteArray("</a>").repeated(98) + "</power>");
        declares("default value, often", "<!ATTLIST b c CDATA \"" + large + "\">",
                 "<power>" + QByteArray("<b/>").repeated(100000) + "</power>");
        declares("parameter entity, often",
                 entity("% a", QByteArray(4000, ' ')) + QByteArray("%a;").repeated(300000),
                 "<power/>");
        declares("declarations, often",
                 entity("% a", QByteArray("<!ATTLIST z b ID #IMPLIED>").repeated(10000)) +
                     QByteArray("%a;").repeated(1000),
                 "<power/>");
        declares("entities", numbered(40000, "<!ENTITY e", " ''>"), "<power/>");
        declares("references in an entity", entity("a", "") + entity("b", often) + entity("c", ""),
                 "<power/>");
        declares("declared attributes", "<!ATTLIST z" + numbered(45000, " b", " ID #IMPLIED") + ">",
                 "<power/>");
        QTest::newRow("attributes") << "<power " + numbered(100000, "a", "='' ") + "/>";
        declares("attributes in an entity",
                 entity("a", "<a " + numbered(30000, "a", "=&#39;&#39; ") + "/>"),
                 "<power>&a;</power>");
        declares("markup in an attribute", entity("a", "<b/>"), "<power a=\"&a;\"/>");
        QTest::newRow("encoding that hides the references")
            << "<?xml version=\"1.0\" encoding=\"UTF-7\"?><!DOCTYPE power [" + entity("a", large) +
                   "]><power a=\"" + QByteArray("+ACY-a;").repeated(60000) + "\"/>";
        QTest::newRow("name that is spelled in another encoding")
            << "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><!DOCTYPE power [" +
                   entity("\xe4", large) + "]><power>" + QByteArray("&\xe4;").repeated(60000) +
                   "</power>";
    }
    void hostile_files_fail_quickly_and_in_bounded_memory()
    {
        QFETCH(QByteArray, content);
        root_.write(file_, content);
        std::unique_ptr<QDomDocument> document;
        rusage before{};
        getrusage(RUSAGE_SELF, &before);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(load_power_config(document, path().constData()), -2);
        QVERIFY(clock.elapsed() < 20000);
        rusage after{};
        getrusage(RUSAGE_SELF, &after);
        QVERIFY(after.ru_maxrss - before.ru_maxrss < 100 * 1024);
    }

    void files_within_the_limits_are_loaded()
    {
        const auto nested = [](int depth) {
            return "<power>" + QByteArray("<a>").repeated(depth - 1) +
                   QByteArray("</a>").repeated(depth - 1) + "</power>";
        };
        const auto filled = [](int size) {
            return "<power>" + QByteArray(size - 15, 'x') + "</power>";
        };
        const auto result = [this](const QByteArray& content) {
            root_.write(file_, content);
            std::unique_ptr<QDomDocument> document;
            return load_power_config(document, path().constData());
        };
        QCOMPARE(result(nested(100)), 0);
        QCOMPARE(result(nested(101)), -2);
        QCOMPARE(result("<power>" + QByteArray("<a></a>").repeated(200) + "</power>"), 0);
        QCOMPARE(result(filled(1024 * 1024)), 0);
        QCOMPARE(result(filled(1024 * 1024 + 1)), -2);

        const auto with_attributes = [](int count) {
            QByteArray element = "<power>\"<a ";
            for (int i = 0; i < count; ++i)
                element += "a" + QByteArray::number(i) + (i % 2 == 0 ? "=\"\" " : "='' ");
            return element + "/></power>";
        };
        QCOMPARE(result(with_attributes(4096)), 0);
        QCOMPARE(result(with_attributes(4097)), -2);
        QCOMPARE(result(with_attributes(150000)), -2); // which would take minutes

        const auto declaring = [](int entities, int references) {
            QByteArray declarations;
            for (int i = 0; i < entities; ++i)
                declarations += "<!ENTITY a" + QByteArray::number(i) + " ''>";
            const QByteArray value = QByteArray("&a0;").repeated(references);
            return "<!DOCTYPE power [" + declarations + "<!ENTITY b '" + value + "'>]><power/>";
        };
        QCOMPARE(result(declaring(4095, 0)), 0);
        QCOMPARE(result(declaring(4096, 0)), -2);
        QCOMPARE(result(declaring(1, 4094)), 0);
        QCOMPARE(result(declaring(1, 4095)), -2);

        const auto expanding = [](int references, const QByteArray& own) {
            return "<!DOCTYPE power [<!ENTITY a \"" + QByteArray(1024, 'x') +
                   "\"><!ENTITY b \"&a;&a;\">]><power>" + own +
                   QByteArray("&b;").repeated(references) + "</power>";
        };
        QCOMPARE(result(expanding(512, {})), 0);
        QCOMPARE(result(expanding(512, "x")), -2);
        QCOMPARE(result(expanding(513, {})), -2);
        QCOMPARE(result(expanding(511, QByteArray(2048, 'x'))), 0);
        QCOMPARE(result(expanding(511, QByteArray(2049, 'x'))), -2);
        QCOMPARE(result(expanding(511, "<a b='" + QByteArray(2047, 'x') + "'/>")), 0);
        QCOMPARE(result(expanding(511, "<a b='" + QByteArray(2048, 'x') + "'/>")), -2);
        // What a comment holds is no text.
        QCOMPARE(result(expanding(512, "<!--" + QByteArray(100000, 'x') + "-->")), 0);
    }

    void manual_pages_name_the_limits_data()
    {
        QTest::addColumn<QString>("page");
        QTest::newRow("power_manage.conf") << QStringLiteral(DOV_MANUAL "/power_manage.conf.5");
        QTest::newRow("oem_profile.conf") << QStringLiteral(DOV_MANUAL "/oem_profile.conf.5");
    }
    void manual_pages_name_the_limits()
    {
        QFETCH(QString, page);
        QFile file(page);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        const QString text = QString::fromUtf8(file.readAll()).simplified();
        for (const Xml_limit limit :
             {Xml_limit::size, Xml_limit::text, Xml_limit::depth, Xml_limit::values}) {
            QVERIFY2(text.contains(text_of(limit)),
                     qPrintable(page + QStringLiteral(" does not say: ") + text_of(limit)));
        }
    }

    /// Without the marks of its language, and on one line.
    static QString manual(const char* page)
    {
        QFile file(QLatin1String(DOV_MANUAL "/") + QLatin1String(page));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QString text = QString::fromUtf8(file.readAll());
        for (const char* mark : {".Li ", "Li ", " Ns", " Ar", ".Dq "})
            text.remove(QLatin1String(mark));
        return text.replace(QLatin1String("\\(dq"), QLatin1String("\""))
            .replace(QLatin1String("\\-"), QLatin1String("-"))
            .simplified();
    }

    void manual_pages_name_the_entries_data()
    {
        QTest::addColumn<QByteArray>("page");
        QTest::addColumn<QString>("text");
        const auto add = [](const char* page, const QString& text) {
            QTest::newRow(qPrintable(text)) << QByteArray(page) << text;
        };
        const char* power = "power_manage.conf.5";
        const char* profile = "oem_profile.conf.5";
        const QString otherwise =
            QStringLiteral("Without a number, or without the element, it is ");
        const auto& timeouts = state_timeout_row.without_entry;
        add(power, QStringLiteral("It <%1 %2=\" state \">")
                       .arg(QLatin1String(state_tag), QLatin1String(name_attribute)));
        add(power, QStringLiteral("It %1 seconds %2,")
                       .arg(power_entry_keys({})[0], QLatin1String(state_timeout_row.meaning)));
        add(power, otherwise + QStringLiteral("%1 for on and %2 for the others.")
                                   .arg(timeouts[0])
                                   .arg(timeouts[1]));
        QCOMPARE(timeouts[1], timeouts[2]);
        add(power, QStringLiteral("It <%1 %2=\" device \"> power %3: exactly on or off ,")
                       .arg(QLatin1String(device_power_row.tag), QLatin1String(name_attribute),
                            QLatin1String(device_power_row.meaning)));
        for (const int on : device_power_row.without_entry)
            QCOMPARE(on, 1);
        add(power,
            QStringLiteral(
                "A device with any other text is on, and so is one that the state does not name."));
        for (const QByteArray& name : power_names())
            add(power, QString::fromUtf8(name));
        for (const Config_row* row : oem_profile_rows) {
            add(profile, QStringLiteral("It <%1> number %2. %3%4.")
                             .arg(QLatin1String(row->tag), QLatin1String(row->meaning), otherwise)
                             .arg(row->without_entry[0]));
            add(profile, QStringLiteral("both are %1,").arg(row->without_file[0]));
        }
    }
    void manual_pages_name_the_entries()
    {
        QFETCH(QByteArray, page);
        QFETCH(QString, text);
        const QString all = manual(page.constData());
        QVERIFY2(all.contains(text),
                 qPrintable(QLatin1String(page) + QStringLiteral(" does not say: ") + text));
    }

    void values_tell_where_they_come_from_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<int>("value");
        QTest::addColumn<Config_source>("source");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("message");
        const QByteArray none;
        QTest::newRow("entry") << QByteArray("<device name='d'>off</device>") << 0
                               << Config_source::entry << 3 << QStringLiteral("off") << none;
        QTest::newRow("not understood")
            << QByteArray("\n<device name='d'>Off</device>") << 1 << Config_source::unrecognised
            << 4 << QStringLiteral("Off") << QByteArray("NOT FOUND Text: Off\n");
        QTest::newRow("empty") << QByteArray("<device name='d'/>") << 1
                               << Config_source::unrecognised << 3 << QString()
                               << QByteArray("NOT FOUND Text: \n");
        QTest::newRow("missing") << QByteArray("<device name='e'>off</device>") << 1
                                 << Config_source::no_entry << 0 << QString()
                                 << QByteArray("NOT FOUND Text: \n");
    }
    void values_tell_where_they_come_from()
    {
        QFETCH(QByteArray, entry);
        const auto document =
            power("<power>\n<state name=\"low-power\">\n" + entry + "</state></power>");
        const Config_value value =
            read_device_power(document.get(), state_low_power, QStringLiteral("d"));
        QTEST(value.value, "value");
        QTEST(value.source, "source");
        QTEST(value.line, "line");
        QTEST(value.text, "text");
        QTEST(value.message, "message");
    }

    void values_without_a_file()
    {
        const auto check = [](const Config_value& value, int expected) {
            QCOMPARE(value.value, expected);
            QCOMPARE(value.source, Config_source::no_file);
        };
        check(read_device_power(nullptr, state_on, QStringLiteral("system")), 0);
        check(read_state_timeout(nullptr, state_on), -1);
        check(read_state_timeout(nullptr, state_low_power), 100);
        check(read_oem_code(nullptr), 255);
        check(read_remote_switch_power_up_time(nullptr), 255);
        const auto empty = profile("<profile/>");
        QCOMPARE(read_oem_code(empty.get()).value, 255);
        QCOMPARE(read_remote_switch_power_up_time(empty.get()).value, 15);
    }

    void lookup_does_not_go_back()
    {
        const auto document = power(R"(<power>text<!-- c --><state name="low-power"/>
<state name="on"><param name="timeout">5</param></state>
<state name="low-power"><device name="display">off</device></state></power>)");
        const auto path_to = [](const char* state, const char* tag, const char* name) {
            return QStringList{QStringLiteral("state"), QStringLiteral("name"),
                               QLatin1String(state),    QLatin1String(tag),
                               QStringLiteral("name"),  QLatin1String(name)};
        };
        QCOMPARE(find_config_element(document.get(), path_to("on", "param", "timeout")).text(),
                 QStringLiteral("5"));
        QVERIFY(find_config_element(document.get(), path_to("low-power", "device", "display"))
                    .isNull());
        QVERIFY(find_config_element(document.get(), path_to("off", "device", "display")).isNull());
        QVERIFY(find_config_element(nullptr, path_to("on", "param", "timeout")).isNull());
        // An absent attribute reads as empty.
        const QStringList by_absence = {QStringLiteral("state"), QStringLiteral("none"), QString()};
        QVERIFY(!find_config_element(power("<power><state><a/></state></power>").get(), by_absence)
                     .isNull());
    }

    void device_power_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("with_default_on");
        QTest::addColumn<bool>("with_default_off");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray none;
        const auto device = [](const char* text) {
            return QByteArray("<device name=\"d\">") + text + "</device>";
        };
        QTest::newRow("on") << device("on") << true << true << none;
        QTest::newRow("off") << device("off") << false << false << none;
        QTest::newRow("leading blank")
            << device(" on") << true << false << QByteArray("NOT FOUND Text:  on\n");
        QTest::newRow("case") << device("ON") << true << false
                              << QByteArray("NOT FOUND Text: ON\n");
        QTest::newRow("empty") << device("") << true << false << QByteArray("NOT FOUND Text: \n");
        QTest::newRow("missing") << QByteArray() << true << false
                                 << QByteArray("NOT FOUND Text: \n");
        QTest::newRow("first counts") << device("off") + device("on") << false << false << none;
        const QByteArray empty_text("NOT FOUND Text: \n");
        QTest::newRow("trailing blank")
            << device("off ") << true << false << QByteArray("NOT FOUND Text: off \n");
        QTest::newRow("case of off")
            << device("Off") << true << false << QByteArray("NOT FOUND Text: Off\n");
        QTest::newRow("case of the element")
            << QByteArray("<Device name=\"d\">off</Device>") << true << false << empty_text;
        QTest::newRow("case of the attribute")
            << QByteArray("<device Name=\"d\">off</device>") << true << false << empty_text;
        QTest::newRow("case of the name")
            << QByteArray("<device name=\"D\">off</device>") << true << false << empty_text;
        QTest::newRow("another parameter")
            << QByteArray("<param name=\"d\">off</param>") << true << false << empty_text;
        QTest::newRow("other elements and attributes")
            << QByteArray("<note name=\"d\">off</note><device name=\"e\">off</device>"
                          "<device since=\"2\" name=\"d\" kind=\"x\">on</device>")
            << true << true << none;
    }
    void device_power()
    {
        QFETCH(QByteArray, entry);
        QFETCH(QByteArray, printed);
        const auto document = power("<power><state name=\"sleep\">" + entry + "</state></power>");
        Captured_descriptor output(STDOUT_FILENO);
        QTEST(get_device_power(document.get(), state_sleep, "d", true), "with_default_on");
        QTEST(get_device_power(document.get(), state_sleep, "d", false), "with_default_off");
        QCOMPARE(output.text(), printed + printed);
    }

    void state_timeouts_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("timeout");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray none;
        QTest::newRow("100") << QByteArray("100") << 100 << none;
        QTest::newRow("100s") << QByteArray("100s") << 100 << none;
        QTest::newRow("blanks and sign") << QByteArray(" \n +7") << 7 << none;
        QTest::newRow("0") << QByteArray("0") << 0 << none;
        QTest::newRow("-5") << QByteArray("-5") << -5 << none;
        QTest::newRow("word") << QByteArray("abc") << 42 << QByteArray("NOT FOUND Text: abc\n");
        QTest::newRow("empty") << QByteArray() << 42 << QByteArray("NOT FOUND Text: \n");
    }
    void state_timeouts()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, printed);
        const auto document = power("<power><state name=\"low-power\"><param name=\"timeout\">" +
                                    text + "</param></state></power>");
        Captured_descriptor output(STDOUT_FILENO);
        QTEST(get_state_timeout(document.get(), state_low_power, 42), "timeout");
        QCOMPARE(output.text(), printed);
    }

    void other_states_give_the_default_silently()
    {
        const auto document = power("<power/>");
        Captured_descriptor output(STDOUT_FILENO);
        for (const int state : {-1, 3, 1000}) {
            QCOMPARE(get_state_timeout(document.get(), state, 9), 9);
            QVERIFY(get_device_power(document.get(), state, "d", true));
            QVERIFY(!get_device_power(document.get(), state, "d", false));
        }
        QVERIFY(output.text().isEmpty());
    }

    void state_names()
    {
        QCOMPARE(power_state_name(0), "on");
        QCOMPARE(power_state_name(1), "low-power");
        QCOMPARE(power_state_name(2), "sleep");
        QCOMPARE(power_state_name(3), "null");
        QCOMPARE(power_state_name(-1), "null");
        QCOMPARE(default_state_timeouts[0], -1);
        QCOMPARE(default_state_timeouts[1], 100);
        QCOMPARE(default_state_timeouts[2], 100);
    }

    void profile_numbers_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("time");
        QTest::newRow("both")
            << QByteArray("<profile><code>3</code>"
                          "<RemoteSwitchPowerUpTime>20</RemoteSwitchPowerUpTime></profile>")
            << 3 << 20;
        QTest::newRow("256") << QByteArray("<profile><code>256</code></profile>") << 0 << 15;
        QTest::newRow("300") << QByteArray("<profile><code>300</code></profile>") << 44 << 15;
        QTest::newRow("blanks, trailing")
            << QByteArray("<profile><code>\n 12 units</code></profile>") << 12 << 15;
        QTest::newRow("negative") << QByteArray("<profile><code>-1</code></profile>") << 255 << 15;
        QTest::newRow("words")
            << QByteArray("<profile><code>x</code>"
                          "<RemoteSwitchPowerUpTime>y</RemoteSwitchPowerUpTime></profile>")
            << 255 << 15;
        QTest::newRow("other case") << QByteArray("<profile><Code>3</Code></profile>") << 255 << 15;
        QTest::newRow("not a child")
            << QByteArray("<profile><a><code>3</code></a></profile>") << 255 << 15;
        QTest::newRow("first counts")
            << QByteArray("<profile><code>5</code><code>6</code></profile>") << 5 << 15;
        QTest::newRow("the same of the time")
            << QByteArray("<profile><a><RemoteSwitchPowerUpTime>7</RemoteSwitchPowerUpTime></a>"
                          "<RemoteSwitchPowerUpTime> 300s</RemoteSwitchPowerUpTime>"
                          "<RemoteSwitchPowerUpTime>8</RemoteSwitchPowerUpTime></profile>")
            << 255 << 44;
    }
    void profile_numbers()
    {
        QFETCH(QByteArray, content);
        const auto document = profile(content);
        QVERIFY(document != nullptr);
        QTEST(int{get_oem_code(document.get(), 255)}, "code");
        QTEST(int{get_remote_switch_power_up_time(document.get(), 15)}, "time");
    }

    void no_profile_gives_the_defaults()
    {
        QCOMPARE(get_oem_code(nullptr, 7), uchar{7});
        QCOMPARE(get_remote_switch_power_up_time(nullptr, 8), uchar{8});
    }
};

QTEST_GUILESS_MAIN(Configuration_files)
#include "configuration_files.moc"
