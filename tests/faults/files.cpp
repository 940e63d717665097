// Files that are not what they should be: configurations, media, what the commands read.

#include "Terminal.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

class Files : public QObject {
    Q_OBJECT

private:
    static bool is_accepted(const Terminal& terminal)
    {
        return !terminal.log.lines().filter(QStringLiteral("Timeout for on is 7")).isEmpty() &&
               !terminal.log.lines()
                    .filter(QStringLiteral("PWR:on=F low-power=T sleep=T  6 for "))
                    .isEmpty();
    }

    static QString configuration(const QString& declaration)
    {
        return declaration + QStringLiteral("<power><state name=\"on\">"
                                            "<device name=\"camera\">off</device>"
                                            "<param name=\"timeout\">7</param></state></power>");
    }

    /// With a byte order mark.
    static QByteArray utf_16(const QString& text)
    {
        const QString marked = QChar(QChar::ByteOrderMark) + text;
        return {reinterpret_cast<const char*>(marked.utf16()),
                static_cast<int>(sizeof(ushort)) * static_cast<int>(marked.size())};
    }

    static int media_signals(const Terminal& terminal)
    {
        int count = 0;
        for (const Terminal::Signal& signal : terminal.seen_signals())
            count += signal.member == QLatin1String("connection");
        return count;
    }

    /// The media that have come and not gone, as the signals tell.
    static QStringList media_there(const Terminal& terminal)
    {
        QStringList there;
        for (const Terminal::Signal& signal : terminal.seen_signals()) {
            if (signal.member != QLatin1String("connection"))
                continue;
            const QString path = signal.values[0].toString();
            if (signal.values[1].toBool())
                there.append(path);
            else
                there.removeAll(path);
        }
        return there;
    }

    /// The processor's time that the daemon has had, in the units of the system's clock: it does
    /// not pass while the machine does something else.
    static qint64 processor_time(const Terminal& terminal)
    {
        QFile file(QStringLiteral("/proc/%1/stat").arg(terminal.daemon.pid()));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        const QByteArray text = file.readAll();
        // Behind the name, which may have blanks.
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        constexpr int user = 11;
        return fields[user].toLongLong() + fields[user + 1].toLongLong();
    }

    /// The most memory the daemon has had, in kilobytes.
    static int peak_memory(const Terminal& terminal)
    {
        QFile file(QStringLiteral("/proc/%1/status").arg(terminal.daemon.pid()));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        const QByteArray status = file.readAll();
        return status.mid(status.indexOf("VmHWM:") + 6).simplified().split(' ')[0].toInt();
    }

private Q_SLOTS:
    void configuration_in_other_words_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("accepted");
        const QString plain = configuration({});
        QTest::newRow("UTF-8 with a mark") << "\xef\xbb\xbf" + plain.toUtf8() << true;
        QTest::newRow("UTF-16") << utf_16(configuration(QStringLiteral(
                                       "<?xml version=\"1.0\" encoding=\"UTF-16\"?>")))
                                << true;
        QTest::newRow("Latin-1")
            << configuration(QStringLiteral("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                                            "<!-- \u00e4 -->"))
                   .toLatin1()
            << true;
        QTest::newRow("not what it says it is")
            << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!-- \xe4 -->" + plain.toUtf8() << false;
        QTest::newRow("unknown encoding")
            << "<?xml version=\"1.0\" encoding=\"x-nothing\"?>" + plain.toUtf8() << false;
        QTest::newRow("document type")
            << configuration(QStringLiteral("<!DOCTYPE power SYSTEM \"/etc/passwd\" [<!ELEMENT "
                                            "power ANY><!ENTITY a \"b\">]>"))
                   .toUtf8()
            << true;
        QTest::newRow("character data")
            << plain.toUtf8().replace(">off<", "><![CDATA[off]]><") << true;
        QTest::newRow("entity that is declared")
            << "<!DOCTYPE power [<!ENTITY a \"off\">]>" + plain.toUtf8().replace(">off<", ">&a;<")
            << true;
        QTest::newRow("entity that is not declared")
            << plain.toUtf8().replace(">off<", ">&a;<") << false;
        QTest::newRow("prefix without a namespace")
            << plain.toUtf8().replace("<power>", "<power x:y=\"z\">") << true;
        QTest::newRow("zeros") << plain.toUtf8().replace("><", QByteArray(">\0<", 3)) << false;
        QTest::newRow("zeros behind") << plain.toUtf8() + QByteArray(4096, '\0') << false;
        QTest::newRow("huge attribute")
            << plain.toUtf8().replace("<power>", "<power a=\"" + QByteArray(60000, 'x') + "\">")
            << true;
        QTest::newRow("very many attributes")
            << plain.toUtf8().replace(
                   "<power>", "<power " +
                                  [] {
                                      QByteArray all;
                                      for (int i = 0; i < 4000; ++i)
                                          all += "a" + QByteArray::number(i) + "=\"\" ";
                                      return all;
                                  }() +
                                  ">")
            << true;
        QTest::newRow("very many siblings")
            << plain.toUtf8().replace("<state", QByteArray("<a/>").repeated(16000) + "<state")
            << true;
    }
    void configuration_in_other_words()
    {
        QFETCH(const QByteArray, content);
        QFETCH(const bool, accepted);
        Terminal terminal;
        terminal.root.write(QStringLiteral("etc/power_manage.conf"), content);
        terminal.root.write(QStringLiteral("etc/oem_profile.conf"), content);
        terminal.start();
        QCOMPARE(is_accepted(terminal), accepted);
        QCOMPARE(terminal.root.systemctl_calls().isEmpty(), accepted);
        QVERIFY(terminal.ends_cleanly());
    }

    /// It stands for nothing: the file is not read, and the device counts as on.
    void entity_of_a_file()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("tmp/word"), "off");
        const QByteArray file = terminal.root.path(QStringLiteral("tmp/word")).toUtf8();
        terminal.root.write(QStringLiteral("etc/power_manage.conf"),
                            "<!DOCTYPE power [<!ENTITY a SYSTEM \"" + file + "\">]>" +
                                configuration({}).toUtf8().replace(">off<", ">&a;<"));
        terminal.start();
        QCOMPARE_CONTAINS(terminal.daemon.output(), "NOT FOUND Text: \n");
        QCOMPARE(terminal.log.lines().filter(QStringLiteral("PWR:on=F")), QStringList());
        QVERIFY(terminal.ends_cleanly());
    }

    /// One entity of 4000 characters, very many times.
    void entity_that_is_used_too_often()
    {
        Terminal terminal;
        terminal.root.write(QStringLiteral("etc/power_manage.conf"),
                            "<!DOCTYPE power [<!ENTITY a \"" + QByteArray(4000, 'x') +
                                "\">]><power>" + QByteArray("&a;").repeated(15000) + "</power>");
        terminal.start();
        QCOMPARE(terminal.root.systemctl_calls().size(), 1);
        QVERIFY(terminal.ends_cleanly());
    }

    void thirty_thousand_media()
    {
        constexpr int count = 30000;
        Terminal terminal;
        terminal.start();
        const QString tmp = terminal.root.path(QStringLiteral("tmp/"));
        for (int i = 0; i < count; ++i)
            QCOMPARE(::close(::open((tmp.toUtf8() + "usb" + QByteArray::number(i)).constData(),
                                    O_CREAT | O_WRONLY, 0600)),
                     0);
        const qint64 before = processor_time(terminal);
        terminal.call(QStringLiteral("media"), QStringLiteral("media_changed"), {tmp});
        WAIT_UNTIL(media_signals(terminal), ==, count);
        const qint64 with_signals = processor_time(terminal) - before;
        terminal.call(QStringLiteral("media"), QStringLiteral("media_changed"), {tmp});
        const qint64 without = processor_time(terminal) - before - with_signals;
        // A third of it when this was written; compared each with each, many times as much.
        QCOMPARE_LT(without, 3 * with_signals);
        QVERIFY(terminal.ends_cleanly());
    }

    void media_directory_is_a_file()
    {
        Terminal terminal;
        terminal.root.remove(QStringLiteral("media"));
        terminal.root.write(QStringLiteral("media"), "usb0");
        terminal.start();
        QCOMPARE_CONTAINS(terminal.daemon.output(), "Media changed ");
        QVERIFY(terminal.ends_cleanly());
    }

    void media_directory_is_a_dangling_link()
    {
        Terminal terminal;
        terminal.root.remove(QStringLiteral("media"));
        QVERIFY(
            QFile::link(QStringLiteral("/nowhere"), terminal.root.path(QStringLiteral("media"))));
        terminal.start();
        QVERIFY(terminal.ends_cleanly());
    }

    void media_change_while_they_are_looked_for()
    {
        Terminal terminal;
        terminal.start();
        const QByteArray media = terminal.root.path(QStringLiteral("media/usb")).toUtf8();
        for (int i = 0; i < 1000; ++i) {
            const QByteArray path = media + QByteArray::number(i % 7);
            if (::mkdir(path.constData(), 0700) != 0)
                ::rmdir(path.constData());
        }
        for (int i = 0; i < 7; ++i)
            ::rmdir((media + QByteArray::number(i)).constData());
        QCOMPARE(::mkdir((media + "last").constData(), 0700), 0);
        const QString added_path = QString::fromUtf8(media + "last");
        // A scan may have met it beside one that had gone by then; the next scan tells of that.
        QVERIFY(wait_for([&] { return media_there(terminal) == QStringList{added_path}; }));
        terminal.settle();
        QCOMPARE(media_there(terminal), QStringList{added_path});
        QVERIFY(terminal.ends_cleanly());
    }

    void names_of_media_in_the_c_locale()
    {
        Terminal terminal;
        terminal.daemon.set_environment(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        terminal.start();
        terminal.clear();
        const QByteArray media = terminal.root.path(QStringLiteral("media/")).toUtf8();
        QCOMPARE(::mkdir((media + "usb-\xc3\xbc").constData(), 0700), 0);
        const Terminal::Signal added = {QStringLiteral("media"),
                                        QStringLiteral("connection"),
                                        {QString::fromUtf8(media + "usb-\xc3\xbc"), true}};
        QVERIFY(wait_for([&] { return terminal.daemon.output().contains("Media changed "); }));
        terminal.settle();
        QCOMPARE_CONTAINS(terminal.seen_signals(), added);
        QVERIFY(terminal.ends_cleanly());
    }

    void command_that_never_stops_printing_data()
    {
        QTest::addColumn<QByteArray>("what");
        QTest::newRow("output") << QByteArray("/dev/zero");
        QTest::newRow("errors") << QByteArray("/dev/zero >&2");
    }
    /// It is given up before its text fills the memory.
    void command_that_never_stops_printing()
    {
        QFETCH(const QByteArray, what);
        Terminal terminal;
        const QString cat = QStringLiteral("bin/cat");
        terminal.root.write(cat, "#!/bin/sh\ncase \"$1\" in *SERIAL*) exec /bin/cat " + what +
                                     ";; esac\nexec /bin/cat \"$@\"\n");
        QFile::setPermissions(terminal.root.path(cat),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        terminal.start();
        QCOMPARE(terminal.get(QStringLiteral("version/serial_number"), QStringLiteral("get")),
                 QVariant(QStringLiteral("failed to run cmd\n")));
        QVERIFY2(peak_memory(terminal) < 1024 * 1024,
                 qPrintable(QString::number(peak_memory(terminal))));
        QVERIFY(terminal.ends_cleanly());
    }
};

QTEST_GUILESS_MAIN(Files)
#include "files.moc"
