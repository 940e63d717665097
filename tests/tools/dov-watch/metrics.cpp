// The metrics that a server gets: names, units, what is left out, and that promtool has nothing to
// say against them.

#include "Metrics.h"

#include "Bus_names.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

class Metrics : public QObject {
    Q_OBJECT

    static Value_place place_of(const Watch_model& model, const char* path, const char* getter)
    {
        const int object = model.find(QLatin1String(path_prefix) + QLatin1String(path));
        const auto& values =
            model.objects().at(static_cast<std::size_t>(object)).entry.kind->values;
        int value = 0;
        while (qstrcmp(values[static_cast<std::size_t>(value)].getter, getter) != 0)
            ++value;
        return {object, value};
    }

    static void learn(Watch_model& model, const char* path, const char* getter,
                      const QVariant& value, qint64 now_ms = 0)
    {
        model.take_reading(place_of(model, path, getter), value, now_ms);
    }

    static QStringList samples(const Watch_model& model, const QString& name = {},
                               const QJsonObject& line = {}, qint64 now_ms = 0)
    {
        QStringList found;
        for (const QString& each : QString::fromUtf8(metrics_text(model, line, now_ms))
                                       .split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            if (!each.startsWith(QLatin1Char('#')) && each.startsWith(name))
                found.append(each);
        }
        return found;
    }

    /// Everything that there is, with a value of its type.
    static void learn_all(Watch_model& model)
    {
        model.set_owner(QStringLiteral(":1.7"), 0);
        for (const Value_place& place : model.take_due(Watch_model::Due::all)) {
            const auto& object = model.objects().at(static_cast<std::size_t>(place.object));
            const QByteArray type =
                object.entry.kind->values[static_cast<std::size_t>(place.value)].type;
            const QVariant value = type == "s"   ? QVariant(QStringLiteral("a \"text\"\\\nof two"))
                                   : type == "b" ? QVariant(true)
                                   : type == "yyy"
                                       ? QVariant(QVariantList{QVariant::fromValue(uchar{4}), 5, 6})
                                       : QVariant(1.5);
            model.take_reading(place, value, 0);
        }
    }

private Q_SLOTS:
    void a_service_that_is_gone_has_few()
    {
        const Watch_model model;
        QCOMPARE(samples(model, {}, {}, 5000),
                 QStringList({QStringLiteral("dov_service_up 0"),
                              QStringLiteral("dov_service_since_seconds 5"),
                              QStringLiteral("dov_signals_total 0")}));
    }

    void names_and_units_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("getter");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("sample");
        const auto row = [](const char* path, const char* getter, const QVariant& value,
                            const char* name, const char* number) {
            QTest::newRow(path) << QByteArray(path) << QByteArray(getter) << value
                                << QStringLiteral("%1{object=\"%2\"} %3")
                                       .arg(QLatin1String(name), QLatin1String(path),
                                            QLatin1String(number));
        };
        row("device/io/input/analog/0", "get_value", 4.386, "dov_analog_input_volts", "4.386");
        row("device/io/input/voltage/3", "get_value", 12.1, "dov_voltage_input_volts", "12.1");
        row("device/io/input/temperature/2", "get_value", -5.0, "dov_temperature_input_celsius",
            "-5");
        row("device/io/input/ambientlight/0", "get_value", 45.0, "dov_ambient_light_input_ratio",
            "0.45");
        row("device/io/input/frequency/0", "get_value", 12.0, "dov_frequency_input", "12");
        row("device/io/input/digital/1", "is_on", true, "dov_digital_input_on", "1");
        row("device/io/output/digital/1", "is_enabled", false, "dov_digital_output_enabled", "0");
        row("device/display/backlight", "get_brightness", 50.0, "dov_backlight_brightness_ratio",
            "0.5");
        row("device/system/power", "is_suspended", false, "dov_power_switch_suspended", "0");
    }

    void names_and_units()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, getter);
        QFETCH(QVariant, value);
        QFETCH(QString, sample);
        Watch_model model;
        model.set_owner(QStringLiteral(":1.7"), 0);
        learn(model, path, getter, value);
        QVERIFY2(samples(model).contains(sample), qPrintable(samples(model).join('\n')));
    }

    void a_text_is_a_label()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.7"), 0);
        learn(model, "version/serial_number", "get", QStringLiteral("12\"34"));
        QCOMPARE(samples(model, QStringLiteral("dov_system_version")),
                 QStringList{QStringLiteral("dov_system_version_info{object=\"version/"
                                            "serial_number\",value=\"12\\\"34\"} 1")});
    }

    void what_is_not_known_has_no_sample()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.7"), 0);
        learn(model, "device/io/input/analog/0", "get_value", no_reading);
        learn(model, "version/hardware", "get", QLatin1String(unknown_version));
        learn(model, "power/ignition", "get_mode", QVariant::fromValue(no_byte));
        QCOMPARE(samples(model, QStringLiteral("dov_analog")), QStringList());
        QCOMPARE(samples(model, QStringLiteral("dov_controller_version_info")), QStringList());
        QCOMPARE(samples(model, QStringLiteral("dov_ignition")), QStringList());
        QCOMPARE(samples(model, QStringLiteral("dov_value_age")), QStringList());
    }

    void what_was_known_of_a_service_that_left_has_no_sample()
    {
        Watch_model model;
        learn_all(model);
        QVERIFY(samples(model, QStringLiteral("dov_analog")).size() == 1);
        model.set_owner(QString(), 1000);
        QCOMPARE(samples(model, QStringLiteral("dov_analog")), QStringList());
        QCOMPARE(samples(model, QStringLiteral("dov_service_up")),
                 QStringList{QStringLiteral("dov_service_up 0")});
    }

    void ages_are_of_the_last_change()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.7"), 0);
        learn(model, "device/io/input/digital/1", "is_on", true, 1000);
        learn(model, "device/io/input/digital/1", "is_on", true, 2000);
        QCOMPARE(samples(model, QStringLiteral("dov_value_age_seconds"), {}, 3500),
                 QStringList{QStringLiteral("dov_value_age_seconds{object=\"device/io/input/"
                                            "digital/1\",member=\"is_on\"} 2.5")});
    }

    void a_tap_gives_its_counters()
    {
        const Watch_model model;
        const QJsonObject tap = {{QStringLiteral("has_device"), true}};
        const QJsonObject line = {{QStringLiteral("host_frames"), 12},
                                  {QStringLiteral("unanswered"), 3},
                                  {QStringLiteral("name"), QStringLiteral("a tap")},
                                  {QStringLiteral("tap"), tap}};
        QCOMPARE(samples(model, QStringLiteral("dov_line"), line),
                 QStringList({QStringLiteral("dov_line_host_frames_total 12"),
                              QStringLiteral("dov_line_unanswered_total 3"),
                              QStringLiteral("dov_line_device_present 1")}));
    }

    void every_value_has_a_sample_and_an_age()
    {
        Watch_model model;
        learn_all(model);
        int values = 0;
        for (const Watched_object& object : model.objects()) {
            for (const Value_row& value : object.entry.kind->values)
                values += value.getter != nullptr ? 1 : 0;
        }
        const QString text = samples(model).join(QLatin1Char('\n'));
        QCOMPARE(static_cast<int>(text.count(QLatin1String("{object="))), 2 * values);
        QCOMPARE(static_cast<int>(samples(model, QStringLiteral("dov_value_age_seconds")).size()),
                 values);
    }

    void the_document_has_every_name()
    {
        Watch_model model;
        learn_all(model);
        model.take_signal(QLatin1String(path_prefix) + QStringLiteral("power/button"),
                          QStringLiteral("com.quorin.system.power.button"),
                          QStringLiteral("short_press"), {1}, 0);
        QFile document(QStringLiteral(DOV_METRICS_DOCUMENT));
        QVERIFY(document.open(QIODevice::ReadOnly));
        const QByteArray text = document.readAll();
        const QJsonObject line = {{QStringLiteral("host_frames"), 12}};
        QStringList names;
        for (const QString& sample : samples(model, {}, line))
            names += sample.left(sample.indexOf(QRegularExpression(QStringLiteral("[{ ]"))));
        names.removeDuplicates();
        QCOMPARE_GT(names.size(), 20);
        QStringList undocumented;
        for (const QString& name : names) {
            if (!text.contains('`' + name.toUtf8() + '`'))
                undocumented.append(name);
        }
        QCOMPARE_EMPTY(undocumented);
    }

    void promtool_has_nothing_to_say()
    {
        Watch_model model;
        learn_all(model);
        const QJsonObject line = {{QStringLiteral("host_frames"), 12}};
        QProcess promtool;
        promtool.start(QStringLiteral("promtool"),
                       {QStringLiteral("check"), QStringLiteral("metrics")});
        QVERIFY(promtool.waitForStarted());
        promtool.write(metrics_text(model, line, 10));
        promtool.closeWriteChannel();
        QVERIFY(promtool.waitForFinished());
        QCOMPARE(QString::fromUtf8(promtool.readAllStandardError()), QString());
        QCOMPARE(QString::fromUtf8(promtool.readAllStandardOutput()), QString());
        QCOMPARE(promtool.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(Metrics)
#include "metrics.moc"
