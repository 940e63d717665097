// What every kind of object has to say.

#include "Object_kinds.h"

#include "Object_catalogue.h"

#include <QMap>

class Object_kinds_test : public QObject {
    Q_OBJECT

    /// Every kind that a row uses, once.
    static QMap<QString, const Object_kind*> all_kinds()
    {
        QMap<QString, const Object_kind*> found;
        for (const Object_row& row : object_rows)
            found[QString::fromUtf8(row.kind->name)] = row.kind;
        return found;
    }

    static bool is_of_type(const Start_value& start, QLatin1Char type)
    {
        switch (start.type) {
        case Start_value::Type::terminals_own:
            return true;
        case Start_value::Type::truth:
            return type == QLatin1Char('b');
        case Start_value::Type::number:
            return QStringLiteral("yud").contains(type);
        case Start_value::Type::text:
            return type == QLatin1Char('s');
        }
        return false;
    }

    /// What is wrong with a value of a kind; empty for nothing.
    static QString fault(const Object_kind& kind, const Value_row& value)
    {
        const QString getter = QString::fromUtf8(value.getter);
        if ((value.getter == nullptr) != (value.reading == Reading::never))
            return QStringLiteral("is read by a method or never");
        if (value.getter == nullptr && value.signal == nullptr)
            return QStringLiteral("cannot be learned");
        if (value.getter != nullptr && !getter.startsWith(QLatin1String("get")) &&
            !getter.startsWith(QLatin1String("is_")))
            return getter + QStringLiteral(" does not sound as if it only read");
        if (*value.type == '\0' || !is_of_type(value.start, QLatin1Char(*value.type)))
            return QStringLiteral("has a start of another type");
        if (value.signal == nullptr)
            return {};
        for (const Signal_row& signal : kind.signals)
            if (qstrcmp(signal.name, value.signal) == 0)
                return {};
        return QStringLiteral("has a signal that the kind has not");
    }

private Q_SLOTS:
    void every_kind_has_a_name_of_its_own()
    {
        const QMap<QString, const Object_kind*> named = all_kinds();
        for (const Object_row& row : object_rows)
            QVERIFY2(named.value(QString::fromUtf8(row.kind->name)) == row.kind, row.kind->name);
    }

    void every_value_agrees_with_itself()
    {
        for (const Object_kind* kind : all_kinds())
            for (const Value_row& value : kind->values) {
                const QString found = fault(*kind, value);
                QVERIFY2(found.isEmpty(),
                         qPrintable(QStringLiteral("%1, %2: %3")
                                        .arg(QString::fromUtf8(kind->name),
                                             QString::fromUtf8(value.getter), found)));
            }
    }

    void every_setting_has_a_start_of_its_type()
    {
        for (const Object_kind* kind : all_kinds())
            for (const Setting_row& setting : kind->settings)
                QVERIFY2(is_of_type(setting.start, QLatin1Char(*setting.type)), setting.name);
    }
};

QTEST_GUILESS_MAIN(Object_kinds_test)
#include "object_kinds.moc"
