// What the watcher knows of the service: values, changes, what is to be read, and health.

#include "Watch_model.h"

#include <QSet>
#include <QTest>

class Model : public QObject {
    Q_OBJECT

private:
    const QString prefix_ = QStringLiteral("/com/quorin/system/");
    const QString digital_ = QStringLiteral("com.quorin.system.device.io.input.digital");
    const QString analog_ = QStringLiteral("com.quorin.system.device.io.input.analog");

    static const Watched_object& object(const Watch_model& model, const QString& path)
    {
        return model.objects().at(static_cast<std::size_t>(model.find(path)));
    }

    /// The paths, relative, that are due.
    QStringList due(Watch_model& model, Watch_model::Due which = Watch_model::Due::all)
    {
        QStringList paths;
        for (const Value_place& place : model.take_due(which))
            paths += model.objects()
                         .at(static_cast<std::size_t>(place.object))
                         .entry.path.mid(prefix_.size());
        return paths;
    }

    /// Answers everything that is due with a value.
    static void answer_all(Watch_model& model, const QVariant& value)
    {
        for (const Value_place& place : model.take_due(Watch_model::Due::all))
            model.take_reading(place, value, 0);
    }

private Q_SLOTS:
    void every_object_is_there_once()
    {
        const Watch_model model;
        QSet<QString> paths;
        for (const Watched_object& each : model.objects())
            paths += each.entry.path;
        QCOMPARE(model.objects().size(), catalogue().size());
        QCOMPARE(paths.size(), static_cast<int>(catalogue().size()));
        QCOMPARE(model.backlight(),
                 model.find(prefix_ + QStringLiteral("device/display/backlight")));
        QCOMPARE_GE(model.find(prefix_ + QStringLiteral("multi_led/19")), 0);
        QCOMPARE_LT(model.find(prefix_ + QStringLiteral("multi_led/20")), 0);
    }

    void signal_changes_a_value()
    {
        Watch_model model;
        const QString path = prefix_ + QStringLiteral("device/io/input/digital/2");
        const QString member = QStringLiteral("changed");
        const auto change = model.take_signal(path, digital_, member, {true}, 100);
        QVERIFY(change);
        QCOMPARE(change->path, path);
        QCOMPARE(change->member, member);
        QCOMPARE(change->value, QVariant(true));
        QVERIFY(!model.take_signal(path, digital_, member, {true}, 200));
        QCOMPARE(object(model, path).values.front().changed_ms, 100);
        QVERIFY(!object(model, path).values.front().has_changed);
        QVERIFY(model.take_signal(path, digital_, member, {false}, 300));
        QVERIFY(object(model, path).values.front().has_changed);
        QCOMPARE(object(model, path).changes, quint64{1});
    }

    void other_signals_are_left_alone()
    {
        Watch_model model;
        const QString path = prefix_ + QStringLiteral("device/io/input/digital/0");
        const QString member = QStringLiteral("changed");
        QVERIFY(!model.take_signal(QStringLiteral("/other"), digital_, member, {true}, 1));
        QVERIFY(!model.take_signal(path, QStringLiteral("other"), member, {true}, 1));
        QCOMPARE(model.health(1).signals_seen, quint64{0});
    }

    void events_are_changes_each_time()
    {
        Watch_model model;
        const QString path = prefix_ + QStringLiteral("power/button");
        for (int i = 0; i < 2; ++i) {
            const auto change =
                model.take_signal(path, QStringLiteral("com.quorin.system.power.button"),
                                  QStringLiteral("short_press"), {1}, 7);
            QVERIFY(change);
            QCOMPARE(change->value, QVariant(1));
        }
        QCOMPARE(object(model, path).last_event, QStringLiteral("short_press 1"));
        QCOMPARE(object(model, path).changes, quint64{2});
    }

    void signals_are_counted_with_what_they_told()
    {
        Watch_model model;
        const QString analog = prefix_ + QStringLiteral("device/io/input/analog/0");
        const QString media = prefix_ + QStringLiteral("media");
        const QString atx = prefix_ + QStringLiteral("atx");
        // In the order of the kind's table.
        const auto signal = [&model](const QString& path, std::size_t index) {
            return object(model, path).heard.at(index);
        };
        QCOMPARE(object(model, analog).heard.size(), std::size_t{3});
        QCOMPARE(signal(analog, 0).count, quint64{0});

        model.take_signal(analog, analog_, QStringLiteral("val_changed"), {2.5, false}, 10);
        model.take_signal(analog, analog_, QStringLiteral("val_changed"), {2.5, true}, 20);
        QCOMPARE(signal(analog, 0).count, quint64{2});
        QCOMPARE(signal(analog, 0).arguments, QVariant(QVariantList({2.5, true})));
        QCOMPARE(signal(analog, 0).heard_ms, 20);

        model.take_signal(analog, analog_, QStringLiteral("max_pass"), {4.5}, 30);
        QCOMPARE(signal(analog, 1).count, quint64{0});
        QCOMPARE(signal(analog, 2).count, quint64{1});
        QCOMPARE(signal(analog, 2).arguments, QVariant(4.5));

        const QString interface = QStringLiteral("com.quorin.system.");
        model.take_signal(media, interface + QStringLiteral("media"), QStringLiteral("connection"),
                          {QStringLiteral("/media/usb0"), true}, 40);
        QCOMPARE(signal(media, 0).arguments,
                 QVariant(QVariantList({QStringLiteral("/media/usb0"), true})));
        model.take_signal(atx, interface + QStringLiteral("atx"), QStringLiteral("received"), {},
                          50);
        QCOMPARE(signal(atx, 0).arguments, QVariant(QVariantList()));

        // What has been heard has been heard.
        model.set_owner({}, 60);
        QCOMPARE(signal(atx, 0).count, quint64{1});
        // Another interface's signal is none of the object's.
        model.take_signal(atx, QStringLiteral("other"), QStringLiteral("received"), {}, 70);
        QCOMPARE(signal(atx, 0).count, quint64{1});
    }

    void first_reading_of_an_input_is_no_change_of_it()
    {
        Watch_model model;
        const QString path = prefix_ + QStringLiteral("device/io/input/analog/0");
        const Value_place place = {model.find(path), 0};
        QVERIFY(model.take_reading(place, no_reading, 0));
        QVERIFY(model.take_reading(place, 1.5, 10));
        QVERIFY(!object(model, path).values.front().has_changed);
        QVERIFY(!model.take_reading(place, 1.5, 20));
        QVERIFY(model.take_reading(place, 1.6, 30));
        QVERIFY(object(model, path).values.front().has_changed);
        QCOMPARE(object(model, path).values.front().changed_ms, 30);
    }

    void nothing_is_read_without_the_service()
    {
        Watch_model model;
        QCOMPARE_EMPTY(due(model));
    }

    void what_is_signalled_is_read_once()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.1"), 0);
        const QStringList first = due(model);
        for (const char* path : {"device/io/input/digital/0", "power/ignition", "device/buzzer",
                                 "version/kernel", "device/io/output/digital/3", "multi_led/7"})
            QCOMPARE_CONTAINS(first, QLatin1String(path));
        for (const char* path : {"power/button", "atx", "media", "device/io/output/frequency/0"})
            QCOMPARE_LACKS(first, QLatin1String(path));
        answer_all(model, 1.0);
        const QStringList then = due(model);
        for (const char* path :
             {"device/io/output/digital/3", "device/display/backlight", "device/usb/power",
              "version/bootloader", "configuration", "oem_profile", "device/io/input/voltage/5"})
            QCOMPARE_CONTAINS(then, QLatin1String(path));
        for (const char* path :
             {"device/io/input/digital/0", "device/buzzer", "version/kernel", "power/lock"})
            QCOMPARE_LACKS(then, QLatin1String(path));
        QCOMPARE_EMPTY(due(model, Watch_model::Due::unknown));
    }

    void inputs_are_read_only_while_they_do_not_signal()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.1"), 0);
        answer_all(model, 1.0);
        const QString relative = QStringLiteral("device/io/input/analog/0");
        model.take_signal(prefix_ + relative, analog_, QStringLiteral("val_changed"), {2.0, true},
                          1);
        QCOMPARE_LACKS(due(model), relative);
        QCOMPARE_CONTAINS(due(model), relative);
    }

    void event_makes_the_object_be_read_again()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.1"), 0);
        answer_all(model, 1.0);
        const QString relative = QStringLiteral("device/buzzer");
        model.take_signal(prefix_ + relative, QStringLiteral("com.quorin.system.device.buzzer"),
                          QStringLiteral("volume_changed"), {QVariant::fromValue(uchar{3})}, 1);
        QCOMPARE(due(model, Watch_model::Due::unknown).count(relative), 2);
    }

    void everything_is_read_again_when_the_service_comes_back()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.1"), 0);
        answer_all(model, 1.0);
        model.set_owner(QString(), 10);
        QCOMPARE_EMPTY(due(model));
        QCOMPARE(model.health(10).owner, QString());
        model.set_owner(QStringLiteral(":1.9"), 20);
        QCOMPARE_CONTAINS(due(model), QStringLiteral("device/io/input/digital/0"));
        QCOMPARE(model.health(30).owner, QStringLiteral(":1.9"));
        QCOMPARE(model.health(30).since_ms, 20);
    }

    void digest_rate_is_that_of_the_fastest_input()
    {
        Watch_model model;
        const QString path = prefix_ + QStringLiteral("device/io/input/analog/0");
        const QString member = QStringLiteral("val_changed");
        for (int i = 0; i <= 100; ++i)
            model.take_signal(path, analog_, member, {double(i), false}, 100 * i);
        QCOMPARE(model.health(10000).digest_rate, 10.0);
        QCOMPARE(*model.health(10000).last_signal_ms, 10000);
        QCOMPARE(model.health(10000).signals_seen, quint64{101});
        QCOMPARE(model.health(15050).digest_rate, 5.0);
        QCOMPARE(model.health(30000).digest_rate, 0.0);
    }

    void versions_tell_of_the_controller()
    {
        Watch_model model;
        model.set_owner(QStringLiteral(":1.1"), 0);
        QCOMPARE(model.health(0).versions, 3);
        const Value_place firmware = {model.find(prefix_ + QStringLiteral("version/bootloader")),
                                      0};
        model.take_reading(firmware, QLatin1String(unknown_version), 1);
        QCOMPARE(model.health(1).versions_known, 0);
        model.take_reading(firmware, QStringLiteral("v2.1.7"), 2);
        QCOMPARE(model.health(2).versions_known, 1);
    }

    void history_has_gaps_while_the_service_is_gone()
    {
        Watch_model model;
        const QString path = prefix_ + QStringLiteral("device/io/input/voltage/0");
        model.set_owner(QStringLiteral(":1.1"), 0);
        model.take_reading({model.find(path), 0}, no_reading, 0);
        model.sample();
        QVERIFY(!object(model, path).history.range());
        model.take_reading({model.find(path), 0}, 12.0, 0);
        model.sample();
        QCOMPARE(object(model, path).history.range()->least, 12.0);
        model.set_owner(QString(), 1);
        for (int i = 0; i < History::length; ++i)
            model.sample();
        QVERIFY(!object(model, path).history.range());
    }
};

QTEST_GUILESS_MAIN(Model)
#include "model.moc"
