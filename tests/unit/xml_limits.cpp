#include "Xml_limits.h"

#include "Written_config.h"

#include <QFile>

#include <cstring>

#include <sys/mman.h>
#include <sys/resource.h>

class Xml_limits_test : public QObject {
    Q_OBJECT

    Written_config config_;

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

private Q_SLOTS:
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
        add("prefix that nobody has declared", "<power><a:b c:d=''/></power>");
        add("apostrophes in a comment", "<!--" + apostrophes + "-->" + root);
        add("apostrophes in text", "<power>" + apostrophes + "</power>");
        add("apostrophes in character data", "<power><![CDATA[<" + apostrophes + "]]></power>");
        add("apostrophes in an instruction", "<?x " + apostrophes + "?>" + root);
        add("entity of an entity of 10000 characters",
            "<!DOCTYPE power [<!ENTITY a '" + QByteArray(1000, 'x') +
                "'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'><!ENTITY c '&b;'><!ENTITY d ''>]>"
                "<power x='&c;'>&c;</power>");
        declares("parameter entity of 5000 characters",
                 "<!ENTITY % a '<!--" + QByteArray(5000, 'x') + "-->'>%a;");
        add("reference to a sign in a value, and a document type",
            "<!DOCTYPE power [<!ENTITY a 'b'>]><power x='&lt;&a;'/>");
        add("4000 signs of an entity that is referred to 200 times",
            "<!DOCTYPE power [<!ENTITY a '" + QByteArray("&lt;").repeated(4000) + "'>]><power>" +
                QByteArray("&a;").repeated(200) + "</power>");
        add("encoding by its name, and an entity",
            "<?xml version='1.0' encoding='utf-8'?><!DOCTYPE power [<!ENTITY a 'bcdef'>]>"
            "<power>&a;</power>");
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
        QVERIFY(config_.power(content) != nullptr);
    }

    void faults_say_what_and_where_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("line");
        QTest::addColumn<bool>("is_malformed");
        const QByteArray nested = "<!DOCTYPE power [<!ENTITY a '" + QByteArray(100000, 'x') +
                                  "'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>]>\n";
        const QByteArray markup = "<!DOCTYPE power [<!ENTITY a '&b;&c;'><!ENTITY b '<d/>'>"
                                  "<!ENTITY c 'e'>]>\n";
        QTest::newRow("size") << QByteArray(max_config_size + 1, ' ') << text_of(Xml_limit::size)
                              << 0 << false;
        QTest::newRow("text") << "<!DOCTYPE power [<!ENTITY a '" + QByteArray(1000, 'x') +
                                     "'>]>\n<power>\n" + QByteArray(900000, 'y') +
                                     QByteArray("&a;").repeated(200) + "</power>"
                              << text_of(Xml_limit::text) << 3 << false;
        QTest::newRow("depth") << "<power>\n" + QByteArray("<a>").repeated(100)
                               << text_of(Xml_limit::depth) << 2 << false;
        // Before it is expanded: on the line of the document type.
        QTest::newRow("entities") << nested + "\n<power>\n&b;&b;</power>"
                                  << text_of(Xml_limit::text) << 1 << false;
        QTest::newRow("no XML") << QByteArray("<power>\n</a>")
                                << QStringLiteral("Opening and ending tag mismatch.") << 2 << true;
        QTest::newRow("markup in a value")
            << markup + "<power x='&a;'/>" << QStringLiteral("Markup in an attribute value.") << 1
            << true;
    }
    void faults_say_what_and_where()
    {
        QFETCH(QByteArray, content);
        const Xml_fault fault = check_xml(content);
        QTEST(fault.text, "text");
        QTEST(fault.line, "line");
        QTEST(fault.is_malformed, "is_malformed");
    }

    /// A page that nobody may read comes behind them.
    void nothing_is_read_behind_the_bytes_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray content = "<power>" + QByteArray(4000, ' ') + "</power>";
        QTest::newRow("UTF-8") << content;
        QTest::newRow("UTF-16") << utf_16(content, "\xff\xfe");
    }
    void nothing_is_read_behind_the_bytes()
    {
        QFETCH(const QByteArray, content);
        constexpr std::size_t size = 65536; // of a page at most
        void* const memory =
            mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        QVERIFY(memory != MAP_FAILED);
        auto* const end = static_cast<char*>(memory) + size;
        QCOMPARE(mprotect(end, size, PROT_NONE), 0);
        std::memcpy(end - content.size(), content.constData(), std::size_t(content.size()));
        const Xml_fault fault =
            check_xml(QByteArray::fromRawData(end - content.size(), content.size()));
        QCOMPARE(fault.text, QString());
        munmap(memory, 2 * size);
    }

    void a_file_that_is_taken_has_no_fault()
    {
        const Xml_fault fault = check_xml("<power/>");
        QCOMPARE(fault.text, QString());
        QCOMPARE(fault.line, 0);
        QCOMPARE(fault.is_malformed, false);
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
        declares("large parameter entity, often",
                 entity("% a", QByteArray(250000, ' ')) + QByteArray("%a;").repeated(3000),
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
        config_.write(content);
        std::unique_ptr<QDomDocument> document;
        rusage before{};
        getrusage(RUSAGE_SELF, &before);
        QCOMPARE(load_power_config(document, config_.path().constData()), -2);
        rusage after{};
        getrusage(RUSAGE_SELF, &after);
        // The processor's time: it does not pass while the machine does something else.
        QCOMPARE_LT(after.ru_utime.tv_sec - before.ru_utime.tv_sec, 20);
        QCOMPARE_LT(after.ru_maxrss - before.ru_maxrss, 100 * 1024);
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
            config_.write(content);
            std::unique_ptr<QDomDocument> document;
            return load_power_config(document, config_.path().constData());
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
        const auto declaring_text = [](int size) {
            return "<!DOCTYPE power [<!ENTITY % a \"<!--" + QByteArray(size, 'x') +
                   "-->\">%a;%a;%a;]><power/>";
        };
        QCOMPARE(result(declaring_text(200 * 1024)), 0);
        QCOMPARE(result(declaring_text(400 * 1024)), -2);
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
};

QTEST_GUILESS_MAIN(Xml_limits_test)
#include "xml_limits.moc"
