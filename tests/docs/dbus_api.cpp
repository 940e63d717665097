// docs/dbus-api.md against the introspection and the answers of a running daemon.

#include "Document.h"
#include "Object_catalogue.h"
#include "Terminal.h"

#include <QDomDocument>
#include <QProcess>
#include <QRegularExpression>

namespace {

const QString service = QString::fromUtf8(service_name);
const QString prefix = QString::fromUtf8(path_prefix);

/// The members of an interface, each as the document spells it: "method is_on(out b res)".
using Members = QStringList;

const Document& document()
{
    static const Document api(QStringLiteral("docs/dbus-api.md"));
    return api;
}

/// A call as busctl takes it and the line it prints; empty for nothing.
struct Example {
    QString call;
    QString answer;
};

QVector<Example> examples()
{
    QStringList lines;
    for (const QStringList& block : document().sections().first().blocks(QStringLiteral("console")))
        lines += block + QStringList(QStringLiteral("$"));
    QVector<Example> examples;
    for (int i = 0; i + 1 < lines.size(); ++i) {
        const bool is_silent = lines[i + 1].startsWith(QLatin1Char('$'));
        if (lines[i].startsWith(QLatin1String("$ busctl call ")))
            examples.append({lines[i], is_silent ? QString() : lines[i + 1]});
    }
    return examples;
}

QString member_text(const QDomElement& member)
{
    QStringList arguments;
    for (QDomElement argument = member.firstChildElement(QStringLiteral("arg")); !argument.isNull();
         argument = argument.nextSiblingElement(QStringLiteral("arg"))) {
        QStringList words = {argument.attribute(QStringLiteral("type")),
                             argument.attribute(QStringLiteral("name"))};
        if (member.tagName() == QLatin1String("method"))
            words.prepend(argument.attribute(QStringLiteral("direction")));
        arguments.append(words.join(QLatin1Char(' ')));
    }
    return QStringLiteral("%1 %2(%3)")
        .arg(member.tagName(), member.attribute(QStringLiteral("name")),
             arguments.join(QLatin1String(", ")));
}

/// The types of the inputs of a member, joined: "yy" for query.
QString input_types(const QString& member)
{
    static const QRegularExpression input(QStringLiteral("\\bin (\\w)"));
    QString types;
    auto found = input.globalMatch(member);
    while (found.hasNext())
        types += found.next().captured(1);
    return types;
}

QVariant value_of(QChar type, const QString& text)
{
    switch (type.toLatin1()) {
    case 'b':
        return text == QLatin1String("true");
    case 'y':
        return QVariant::fromValue(static_cast<uchar>(text.toUInt()));
    case 'i':
        return text.toInt();
    case 'u':
        return text.toUInt();
    case 'd':
        return text.toDouble();
    default:
        return text;
    }
}

/// Signature and value as busctl prints them.
QPair<QString, QString> shown(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return {QStringLiteral("b"), value.toString()};
    case QMetaType::UChar:
        return {QStringLiteral("y"), QString::number(value.toUInt())};
    case QMetaType::Int:
        return {QStringLiteral("i"), value.toString()};
    case QMetaType::UInt:
        return {QStringLiteral("u"), value.toString()};
    case QMetaType::Double:
        return {QStringLiteral("d"), QString::number(value.toDouble())};
    default:
        return {QStringLiteral("s"), QLatin1Char('"') + value.toString() + QLatin1Char('"')};
    }
}

QString shown(const QVariantList& values)
{
    QString signature;
    QStringList texts;
    for (const QVariant& value : values) {
        const auto [type, text] = shown(value);
        signature += type;
        texts.append(text);
    }
    return values.isEmpty() ? QString()
                            : signature + QLatin1Char(' ') + texts.join(QLatin1Char(' '));
}

} // namespace

class Dbus_api : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        terminal_.controller.set_silent(true);
        terminal_.start();
        terminal_.settle();
        static const QRegularExpression path(QStringLiteral("Path: /com/quorin/system/(\\S+)"));
        auto found = path.globalMatch(QString::fromLatin1(terminal_.daemon.output()));
        while (found.hasNext())
            introspect(found.next().captured(1));
    }

    void the_daemon_has_the_objects_of_the_catalogue() { QCOMPARE(objects_, catalogue_objects()); }

    void the_table_of_objects_is_the_catalogue()
    {
        QStringList documented;
        for (const QStringList& row : document().section(QStringLiteral("Objects")).rows()) {
            const QString path = plain(row[0]);
            const int last = row[1].section(QLatin1Char('-'), 1).toInt();
            for (int n = 0; n <= last; ++n) {
                QString numbered = path;
                numbered.replace(QLatin1String("/N"), QStringLiteral("/%1").arg(n));
                documented.append(numbered + QLatin1Char(' ') + plain(row[2]));
            }
        }
        QCOMPARE(documented, catalogue_objects());
    }

    void every_value_starts_as_the_catalogue_says()
    {
        for (const Catalogue_object& object : catalogue()) {
            for (const Value_row& row : object.kind->values)
                if (row.getter != nullptr)
                    check_start(object, QString::fromUtf8(row.getter), row.type, row.start);
            for (const Setting_row& row : object.kind->settings)
                check_start(object, QStringLiteral("get_") + QString::fromUtf8(row.name), row.type,
                            row.start);
        }
    }

    void every_interface_has_its_section_and_no_other()
    {
        QStringList documented;
        for (const Document::Section& section : document().sections()) {
            if (section.title.startsWith(service))
                documented.append(section.title);
        }
        documented.sort();
        QCOMPARE(documented, QStringList(interfaces_.keys()));
    }

    void every_member_is_documented_and_no_other()
    {
        for (auto known = interfaces_.cbegin(); known != interfaces_.cend(); ++known) {
            Members documented = documented_members(known.key());
            Members members = known.value();
            documented.sort();
            members.sort();
            QVERIFY2(documented == members,
                     qPrintable(known.key() + QLatin1String("\ndocumented: ") +
                                documented.join(QLatin1String("; ")) + QLatin1String("\nknown: ") +
                                members.join(QLatin1String("; "))));
        }
    }

    void signals_that_are_emitted_are_in_the_table_of_signals()
    {
        QSet<QString> emitted;
        static const QRegularExpression code(QStringLiteral("`(\\w+)`"));
        for (const QStringList& row : document().section(QStringLiteral("Signals")).rows()) {
            auto found = code.globalMatch(row[0]);
            while (found.hasNext())
                emitted.insert(found.next().captured(1));
        }
        for (auto known = interfaces_.cbegin(); known != interfaces_.cend(); ++known) {
            for (const QStringList& row : document().section(known.key()).rows()) {
                const QString name = plain(row[1]).section(QLatin1Char('('), 0, 0);
                if (row[0] != QLatin1String("signal"))
                    continue;
                const bool is_emitted = row[2] != QLatin1String("never emitted");
                QVERIFY2(is_emitted == is_sent(known.key(), name), qPrintable(known.key() + name));
                if (is_emitted)
                    QVERIFY2(emitted.contains(name), qPrintable(known.key() + name));
            }
        }
    }

    void examples_answer_as_shown()
    {
        QSet<QString> shown_interfaces;
        for (const Example& example : examples())
            shown_interfaces.insert(call_example(example));
        for (auto known = interfaces_.cbegin(); known != interfaces_.cend(); ++known) {
            const bool has_methods =
                !known.value().filter(QRegularExpression(QStringLiteral("^method"))).isEmpty();
            QVERIFY2(!has_methods || shown_interfaces.contains(known.key()),
                     qPrintable(known.key()));
        }
    }

    void documents_tell_how_many_objects_there_are()
    {
        static const QRegularExpression number(QStringLiteral("\\b(\\d\\d+) objects\\b"));
        for (const char* name :
             {"README.md", "docs/dbus-api.md", "docs/architecture.md", "data/man/dov-dbus.8"}) {
            const QString text =
                Document(QString::fromLatin1(name)).lines().join(QLatin1Char(' ')).simplified();
            QCOMPARE(
                QStringLiteral("%1: %2").arg(QLatin1String(name), number.match(text).captured()),
                QStringLiteral("%1: %2 objects").arg(QLatin1String(name)).arg(catalogue().size()));
        }
    }

private:
    static QStringList catalogue_objects()
    {
        QStringList objects;
        for (const Catalogue_object& object : catalogue())
            objects.append(object.path.mid(prefix.size()) + QLatin1Char(' ') + object.interface);
        return objects;
    }

    static bool is_sent(const QString& interface, const QString& name)
    {
        for (const Catalogue_object& object : catalogue())
            for (const Signal_row& row : object.kind->signals)
                if (object.interface == interface && name == QLatin1String(row.name))
                    return row.is_sent;
        return false;
    }

    static QVariant as_variant(const Start_value& start)
    {
        if (start.type == Start_value::Type::truth)
            return start.number != 0.0;
        if (start.type == Start_value::Type::number)
            return start.number;
        return QString::fromUtf8(start.text);
    }

    /// Reads a value and compares it, as a text that names it.
    void check_start(const Catalogue_object& object, const QString& method, const char* types,
                     const Start_value& start)
    {
        const QString path = object.path.mid(prefix.size());
        QString found = path + QLatin1Char(' ') + method;
        QString expected = found;
        const bool is_own = start.type == Start_value::Type::terminals_own;
        int outputs = 0;
        for (const QVariant& value : terminal_.call(path, method).arguments()) {
            QVariant wanted = is_own ? value : as_variant(start);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
            wanted.convert(value.userType());
#else
            wanted.convert(value.metaType());
#endif
            found += QLatin1Char(' ') + shown(QVariantList{value});
            expected +=
                QStringLiteral(" %1 %2").arg(QLatin1Char(types[outputs])).arg(shown(wanted).second);
            outputs += types[outputs] == '\0' ? 0 : 1;
        }
        QCOMPARE(found, expected);
        QCOMPARE(outputs, static_cast<int>(qstrlen(types)));
    }

    /// Notes the object, and its interface with its members.
    void introspect(const QString& path)
    {
        const QDBusMessage answer = terminal_.answer_to(QDBusMessage::createMethodCall(
            service, prefix + path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
            QStringLiteral("Introspect")));
        QDomDocument xml;
        xml.setContent(answer.arguments().value(0).toString());
        for (QDomElement interface =
                 xml.documentElement().firstChildElement(QStringLiteral("interface"));
             !interface.isNull();
             interface = interface.nextSiblingElement(QStringLiteral("interface"))) {
            const QString name = interface.attribute(QStringLiteral("name"));
            if (!name.startsWith(service))
                continue;
            objects_.append(path + QLatin1Char(' ') + name);
            Members members;
            for (QDomElement member = interface.firstChildElement(); !member.isNull();
                 member = member.nextSiblingElement())
                members.append(member_text(member));
            interfaces_[name] = members;
        }
    }

    static Members documented_members(const QString& interface)
    {
        static const QRegularExpression as_of(QStringLiteral("^Members as of `([\\w.]+)`\\.$"));
        const Document::Section section = document().section(interface);
        for (const QString& line : section.lines) {
            const QRegularExpressionMatch match = as_of.match(line);
            if (match.hasMatch())
                return documented_members(match.captured(1));
        }
        Members members;
        for (const QStringList& row : section.rows()) {
            if (row[0] == QLatin1String("method") || row[0] == QLatin1String("signal"))
                members.append(row[0] + QLatin1Char(' ') + plain(row[1]));
        }
        return members;
    }

    /// Makes the call and compares the answer, unless that is a remark. Returns its interface.
    QString call_example(const Example& example)
    {
        QString line = example.call;
        line.replace(QLatin1String("$Q"), service);
        line.replace(QLatin1String("$P/"), prefix);
        const QStringList words = QProcess::splitCommand(line).mid(3);
        const QString path = words.value(1).mid(prefix.size());
        QString interface = words.value(2);
        const QString method = words.value(3);
        const QString types = words.value(4);
        const QStringList known = interfaces_.value(interface).filter(
            QRegularExpression(QStringLiteral("^method %1\\(").arg(method)));

        const bool exists = words.value(0) == service && known.size() == 1 &&
                            objects_.contains(path + QLatin1Char(' ') + interface) &&
                            input_types(known.first()) == types &&
                            words.size() == (types.isEmpty() ? 4 : 5 + types.size());
        if (!exists) {
            QTest::qFail(qPrintable(line), __FILE__, __LINE__);
            return interface;
        }
        QVariantList values;
        for (int i = 0; i < types.size(); ++i)
            values.append(value_of(types[i], words[5 + i]));
        const QDBusMessage answer = terminal_.call(path, method, values);
        const bool is_remark = example.answer.startsWith(QLatin1Char('#'));
        if (answer.type() != QDBusMessage::ReplyMessage)
            QTest::qFail(qPrintable(line + answer.errorMessage()), __FILE__, __LINE__);
        else if (!is_remark && shown(answer.arguments()) != example.answer)
            QTest::qFail(qPrintable(line + QLatin1String("\nanswers ") + shown(answer.arguments())),
                         __FILE__, __LINE__);
        return interface;
    }

    Terminal terminal_;
    QStringList objects_; ///< "path interface", in the order of creation
    QMap<QString, Members> interfaces_;
};

QTEST_GUILESS_MAIN(Dbus_api)
#include "dbus_api.moc"
