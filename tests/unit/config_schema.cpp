// What the manual pages say of the rows.

#include "Config_schema.h"

#include "Object_catalogue.h"

#include <QFile>

class Config_schema_test : public QObject {
    Q_OBJECT

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

private Q_SLOTS:
    void entries_of_the_profile_are_called_something()
    {
        QStringList names;
        for (const Config_row* row : oem_profile_rows)
            names << QLatin1String(row->label) << QLatin1String(row->key);
        QCOMPARE(names, (QStringList{QStringLiteral("OEM code"), QStringLiteral("oem_code"),
                                     QStringLiteral("remote-switch power-up time"),
                                     QStringLiteral("power_up_time")}));
    }

    void keys_are_those_of_every_element()
    {
        QCOMPARE(power_state_keys(), (QStringList{QStringLiteral("<state name=\"on\">"),
                                                  QStringLiteral("<state name=\"low-power\">"),
                                                  QStringLiteral("<state name=\"sleep\">")}));
        QCOMPARE(power_entry_keys({"a", "b"}),
                 (QStringList{QStringLiteral("<param name=\"timeout\">"),
                              QStringLiteral("<device name=\"a\">"),
                              QStringLiteral("<device name=\"b\">")}));
        QCOMPARE(oem_profile_keys(), (QStringList{QStringLiteral("<code>"),
                                                  QStringLiteral("<RemoteSwitchPowerUpTime>")}));
    }

    void manual_pages_name_the_entries_data()
    {
        QTest::addColumn<QByteArray>("page");
        QTest::addColumn<QString>("text");
        const auto add = [](const char* page, const QString& text) {
            QTest::addRow("%s: %s", page, qPrintable(text)) << QByteArray(page) << text;
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
        QCOMPARE_CONTAINS(manual(page.constData()), text);
    }
};

QTEST_GUILESS_MAIN(Config_schema_test)
#include "config_schema.moc"
