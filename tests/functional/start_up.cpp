// What start-up publishes, prints and sends, compared with golden files.

#include "Expected_objects.h"
#include "Terminal.h"

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QSet>

class Start_up : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Terminal> terminal_;
    qint64 launched_ = 0; ///< by the controller's clock

    Terminal& terminal() { return *terminal_; }

    /// The lines of a golden file, without comments and empty ones.
    static QStringList golden(const char* name)
    {
        QFile file(QStringLiteral(DOV_GOLDEN "/") + QLatin1String(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("no golden file %s", name);
        QStringList lines;
        for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
            if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
                lines.append(line);
        }
        return lines;
    }

    /// The sections of a golden file: a heading, and the indented lines below it.
    static QHash<QString, QStringList> sections(const char* name)
    {
        QHash<QString, QStringList> found;
        QString heading;
        for (const QString& line : golden(name)) {
            if (line.startsWith(QLatin1Char(' ')))
                found[heading].append(line);
            else
                found.insert(heading = line, {});
        }
        return found;
    }

    static QString argument_text(const QDomElement& argument)
    {
        QString text;
        if (argument.hasAttribute(QStringLiteral("direction")) &&
            argument.parentNode().nodeName() == QLatin1String("method"))
            text = argument.attribute(QStringLiteral("direction")) + QLatin1Char(' ');
        return text + argument.attribute(QStringLiteral("type")) + QLatin1Char(' ') +
               argument.attribute(QStringLiteral("name"));
    }

    /// An interface as the golden file writes it.
    static QStringList interface_lines(const QDomElement& interface)
    {
        QStringList methods;
        QStringList announced;
        for (QDomElement member = interface.firstChildElement(); !member.isNull();
             member = member.nextSiblingElement()) {
            QStringList arguments;
            for (QDomElement argument = member.firstChildElement(QStringLiteral("arg"));
                 !argument.isNull(); argument = argument.nextSiblingElement(QStringLiteral("arg")))
                arguments.append(argument_text(argument));
            const QString line =
                QStringLiteral("  %1 %2(%3)")
                    .arg(member.tagName(), member.attribute(QStringLiteral("name")),
                         arguments.join(QLatin1String(", ")));
            (member.tagName() == QLatin1String("signal") ? announced : methods).append(line);
        }
        return methods + announced;
    }

    QDomDocument introspection(const QString& path)
    {
        const QDBusMessage reply = terminal().connection().call(QDBusMessage::createMethodCall(
            QStringLiteral("com.quorin.system"), path,
            QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect")));
        QDomDocument document;
        document.setContent(reply.arguments().value(0).toString());
        return document;
    }

    /// Every path at or below one that carries an interface of this service, relative.
    QStringList published_paths(const QString& path)
    {
        QStringList found;
        const QDomElement root = introspection(path).documentElement();
        for (QDomElement child = root.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            const QString name = child.attribute(QStringLiteral("name"));
            if (child.tagName() == QLatin1String("node"))
                found += published_paths(path + QLatin1Char('/') + name);
            else if (name.startsWith(QLatin1String("com.quorin.system.")))
                found.append(path.mid(int(strlen("/com/quorin/system/"))));
        }
        return found;
    }

    static QStringList expected_dump()
    {
        QHash<QString, QStringList> infos;
        QHash<QString, QStringList> methods;
        for (const QString& heading_text : sections("classes.txt").keys()) {
            const QStringList heading = heading_text.split(QLatin1String(" : "));
            for (const QString& ancestor : {heading.value(1), heading_text}) {
                for (const QString& line : sections("classes.txt").value(ancestor))
                    (line.startsWith(QLatin1String("  D-Bus")) ? infos : methods)[heading[0]]
                        .append(line);
            }
        }
        const QStringList inherited = {
            QStringLiteral("  Signal: destroyed(QObject*)"),
            QStringLiteral("  Signal: destroyed()"),
            QStringLiteral("  Signal: objectNameChanged(QString)"),
            QStringLiteral("  Slot:   deleteLater()"),
            QStringLiteral("  Slot:   _q_reregisterTimers(void*)"),
        };
        QStringList lines;
        for (const Expected_object& object : expected_objects) {
            const QString class_name = QString::fromLatin1(object.class_name);
            lines += QStringLiteral("Path: /com/quorin/system/") + QLatin1String(object.path);
            lines += QStringLiteral("  Class:   ") + class_name;
            lines += infos[class_name] + inherited + methods[class_name];
        }
        return lines;
    }

    /// The start-up requests in their order, before the digest requests.
    static QStringList conversation()
    {
        return {
            QStringLiteral("29 01 00 00 00 00 00 00"), QStringLiteral("33 01 01 00 00 00 00 00"),
            QStringLiteral("33 04 04 00 00 00 00 00"), QStringLiteral("33 10 10 00 00 00 00 00"),
            QStringLiteral("33 40 40 00 00 00 00 00"), QStringLiteral("31 ff ff 00 00 00 00 00"),
            QStringLiteral("01 00 00 00 00 00 00 00"), QStringLiteral("05 ff 00 00 00 00 00 00"),
            QStringLiteral("15 00 00 00 00 00 00 00"), QStringLiteral("11 00 00 00 00 00 00 00"),
            QStringLiteral("1b 00 00 00 00 00 00 00"), QStringLiteral("21 00 00 00 00 00 00 00"),
            QStringLiteral("23 00 00 00 00 00 00 00"), QStringLiteral("27 00 00 00 00 00 00 00"),
            QStringLiteral("19 00 00 00 00 00 00 00"), QStringLiteral("11 00 00 00 00 00 00 00"),
            QStringLiteral("15 00 00 00 00 00 00 00"), QStringLiteral("0b 01 fe 00 00 00 00 00"),
            QStringLiteral("0b 01 fe 00 00 00 00 00"), QStringLiteral("35 02 00 00 00 00 00 00"),
            QStringLiteral("35 02 00 00 00 00 00 00"), QStringLiteral("35 02 00 00 00 00 00 00"),
        };
    }

private Q_SLOTS:
    void initTestCase()
    {
        terminal_ = std::make_unique<Terminal>();
        terminal_->root.make_directory(QStringLiteral("media/usb0"));
        launched_ = terminal_->controller.now();
        terminal_->start();
        terminal_->settle();
    }
    void cleanupTestCase() { terminal_.reset(); }

    void every_object_is_at_its_path()
    {
        QStringList expected;
        for (const Expected_object& object : expected_objects)
            expected.append(QString::fromLatin1(object.path));
        QStringList found = published_paths(QStringLiteral("/com/quorin/system"));
        found.sort();
        expected.sort();
        QCOMPARE(found, expected);
    }

    void every_interface_has_its_members_and_arguments()
    {
        const auto interfaces = sections("interfaces.txt");
        QHash<QString, QString> same_as;
        for (const QString& heading : interfaces.keys())
            same_as[heading.section(QLatin1String(" = "), 0, 0)] =
                heading.section(QLatin1String(" = "), -1);
        const auto classes = sections("classes.txt");
        QHash<QString, QString> interface_of;
        for (const QString& heading : classes.keys()) {
            QStringList infos = classes[heading].filter(QStringLiteral("D-Bus Interface: "));
            if (infos.isEmpty())
                infos = classes[heading.section(QLatin1String(" : "), -1)].filter(
                    QStringLiteral("D-Bus Interface: "));
            interface_of[heading.section(QLatin1String(" : "), 0, 0)] =
                infos[0].section(QLatin1String(": "), -1);
        }
        QSet<QString> seen;
        for (const Expected_object& object : expected_objects) {
            const QString path = QStringLiteral("/com/quorin/system/") + QLatin1String(object.path);
            const QDomElement root = introspection(path).documentElement();
            const QDomElement interface = root.firstChildElement(QStringLiteral("interface"));
            const QString name = interface.attribute(QStringLiteral("name"));
            QCOMPARE(path + QLatin1Char(' ') + name,
                     path + QLatin1Char(' ') +
                         interface_of.value(QString::fromLatin1(object.class_name)));
            const QStringList golden_interface = interfaces.value(same_as.value(name));
            QCOMPARE(interface_lines(interface), golden_interface);
            seen.insert(name);
        }
        QCOMPARE(seen.size(), same_as.size());
    }

    void dump_lists_every_object_in_order()
    {
        QStringList text = QString::fromUtf8(terminal().daemon.output()).split(QLatin1Char('\n'));
        text = text.mid(text.indexOf(QRegularExpression(QStringLiteral("^Path: .*"))));
        const QStringList golden_classes = expected_dump();
        QCOMPARE(text.mid(0, golden_classes.size()), golden_classes);
        QCOMPARE(text.value(golden_classes.size()), QStringLiteral("Periodic"));
    }

    void texts_before_the_dump_are_in_the_order_of_creation()
    {
        QString text = QString::fromUtf8(terminal().daemon.output());
        text.truncate(text.indexOf(QLatin1String("Path: ")));
        text.remove(QStringLiteral("NOT FOUND Text: \n"));
        const QString media = terminal().root.path(QStringLiteral("media")) + QLatin1Char('/');
        QCOMPARE(text, QStringLiteral("Bah\nGot --port\nGot %1\nDBus\n"
                                      "RADARREQRAW: 29 01 00 00 00 00 00 00 \n"
                                      "DOUTRAW: 33 01 01 00 00 00 00 00 \n"
                                      "DOUTRAW: 33 04 04 00 00 00 00 00 \n"
                                      "DOUTRAW: 33 10 10 00 00 00 00 00 \n"
                                      "DOUTRAW: 33 40 40 00 00 00 00 00 \n"
                                      "LCDBRIGET: 31 ff ff 00 00 00 00 00 \n"
                                      "BUZ volume set to 0.000000\n"
                                      "Media changed %2\nAdded usb0\nCurrent usb0\n")
                           .arg(terminal().controller.device(), media));
    }

    void objects_signal_while_they_are_created()
    {
        const QString media = terminal().root.path(QStringLiteral("media/usb0"));
        QCOMPARE(terminal().seen_signals().mid(0, 2),
                 (QList<Terminal::Signal>{
                     {QStringLiteral("device/buzzer"),
                      QStringLiteral("volume_changed"),
                      {QVariant::fromValue(uchar{0})}},
                     {QStringLiteral("media"), QStringLiteral("connection"), {media, true}}}));
    }

    void conversation_with_a_controller_that_answers_everything_at_once()
    {
        QCOMPARE(terminal().controller.payloads().mid(0, conversation().size()), conversation());
    }

    void conversation_with_a_silent_controller()
    {
        Terminal other;
        other.controller.set_silent(true);
        const qint64 launched = other.controller.now();
        other.start();
        WAIT_UNTIL(other.controller.requests().size(), >=, 22);
        // Two polls have been queued behind by now, at most.
        QCOMPARE(other.controller.payloads().mid(0, 22), conversation());
        const auto& requests = other.controller.requests();
        QCOMPARE_GE(requests[21].msecs - launched, 21 * 300);
    }

    void poll_follows_every_3_seconds()
    {
        QVERIFY(wait_for([this] {
            return terminal().controller.payloads().count(
                       QStringLiteral("1b 00 00 00 00 00 00 00")) >= 3;
        }));
        QVector<qint64> times;
        for (const auto& request : terminal().controller.requests()) {
            if (request.payload[0] == 0x1b)
                times.append(request.msecs);
        }
        // The first is that of start-up. Each may be seen late, and none comes early.
        for (int i = 1; i < times.size(); ++i)
            QCOMPARE_GE(times[i] - launched_, i * 3000);
        // Nothing looks for the marker of a touched screen by itself.
        QCOMPARE_LACKS(terminal().daemon.output(), "activity");
    }
};

QTEST_GUILESS_MAIN(Start_up)
#include "start_up.moc"
