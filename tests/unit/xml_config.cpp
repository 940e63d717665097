#include "Xml_config.h"

#include "Written_config.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

class Xml_config_test : public QObject {
    Q_OBJECT

    Written_config config_;

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
        config_.write(content);
        std::unique_ptr<QDomDocument> document;
        QTEST(load_power_config(document, config_.path().constData()), "power_result");
        QFETCH(int, power_result);
        QCOMPARE(document == nullptr, power_result == -3);
        QTEST(load_oem_profile(document, config_.path().constData()), "profile_result");
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
        QTest::newRow("default value behind a prefix of its own and a large entity of entities")
            << "<!ATTLIST device name CDATA 'd'><!ENTITY a '" + QByteArray(5000, 'x') +
                   "'><!ENTITY b '&a;'><!ENTITY c ''>"
            << QByteArray("<x:y>&b;</x:y><device>off</device><device name=\"d\">on</device>")
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
        const auto document =
            config_.power("<!DOCTYPE power [" + declarations + "]><power><state name=\"on\">" +
                          state + "</state></power>");
        QVERIFY(document != nullptr);
        const QStringList path = {QStringLiteral("state"), QStringLiteral("name"),
                                  QStringLiteral("on"),    QStringLiteral("device"),
                                  QStringLiteral("name"),  QStringLiteral("d")};
        QTEST(find_config_element(document.get(), path).text(), "text");
    }

    void document_carries_its_name()
    {
        QCOMPARE(config_.power("<power/>")->doctype().name().isEmpty(), true);
        std::unique_ptr<QDomDocument> document;
        QCOMPARE(load_power_config(document, "/nonexistent"), -1);
        QCOMPARE(document->doctype().name(), QStringLiteral("PowerCntlML"));
        QCOMPARE(load_oem_profile(document, "/nonexistent"), -1);
        QCOMPARE(document->doctype().name(), QStringLiteral("OEMprofile"));
    }

    void files_that_cannot_be_opened()
    {
        std::unique_ptr<QDomDocument> document;
        QCOMPARE(load_power_config(document, config_.root.path().toUtf8().constData()),
                 -1); // a directory
        const QByteArray pipe = config_.root.path(QStringLiteral("etc/pipe")).toUtf8();
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        QCOMPARE(load_power_config(document, pipe.constData()), -1);
        config_.root.write(QStringLiteral("etc/secret"), "<power/>");
        const QByteArray secret = config_.root.path(QStringLiteral("etc/secret")).toUtf8();
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
        QCOMPARE_GT(before, 0);
        for (const char* content : {"<power/>", "<power>", "<profile/>"}) {
            config_.write(content);
            std::unique_ptr<QDomDocument> document;
            load_power_config(document, config_.path().constData());
            load_oem_profile(document, config_.path().constData());
            QCOMPARE(open_files(), before);
        }
    }

    void lookup_does_not_go_back()
    {
        const auto document = config_.power(R"(<power>text<!-- c --><state name="low-power"/>
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
        QVERIFY(!find_config_element(config_.power("<power><state><a/></state></power>").get(),
                                     by_absence)
                     .isNull());
    }
};

QTEST_GUILESS_MAIN(Xml_config_test)
#include "xml_config.moc"
