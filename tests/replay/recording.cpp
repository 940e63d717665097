// A recording of the daemon becomes a scenario with one command, and the daemon plays it.

#include "Controller_process.h"
#include "Player.h"

#include <QFile>
#include <QProcess>

#include <csignal>

namespace {

/// Its output and, when there is any, what it complains of.
QByteArray scenario_of(const QString& recording)
{
    QProcess process;
    process.start(QStringLiteral(DOV_LINE), {QStringLiteral("scenario"), recording});
    if (!process.waitForFinished(patience_ms) || process.exitCode() != 0)
        qFatal("dov-line scenario: %s", process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

/// The lines of a scenario that begin so.
QByteArrayList lines_of(const QByteArray& scenario, const char* beginning)
{
    QByteArrayList found;
    for (const QByteArray& line : scenario.split('\n')) {
        if (line.startsWith(beginning))
            found.append(line);
    }
    return found;
}

} // namespace

class Recording : public QObject {
    Q_OBJECT

private:
    Controller_process controller_;

    /// A daemon at work, recorded from its start to its end.
    QString record()
    {
        const QString file = controller_.path(QStringLiteral("recording"));
        const QString link = controller_.path(QStringLiteral("line"));
        controller_.start({QStringLiteral("--link"), link, QStringLiteral("--record"), file,
                           QStringLiteral("--generation=legacy"), QStringLiteral("--line15=2")},
                          false);
        if (!wait_for([this] { return !controller_.devices().isEmpty(); }))
            qFatal("no line");
        Terminal terminal;
        terminal.launch({QStringLiteral("--port"), link});
        const auto reaches = [this](const QByteArray& state) {
            if (!wait_for([&] { return controller_.state().contains(state); }))
                qFatal("the controller does not come to \"%s\"", state.constData());
        };
        reaches("digest 100ms");
        const auto call = [&terminal](const char* path, const char* method,
                                      const QVariantList& values) {
            terminal.call(QLatin1String(path), QLatin1String(method), values);
        };
        call("device/io/output/digital/2", "on", {});
        reaches("output 2 on");
        controller_.command("button press");
        controller_.command("report 0x1e");
        call("device/display/backlight", "set_brightness", {33.05});
        reaches("backlight 84 127");
        call("device/operating_voltage", "set_operating_voltage", {24u});
        reaches("operating-voltage 24");
        controller_.command("garbage 20");
        call("device/display/backlight/power", "suspend", {});
        reaches("backlight-power off");
        call("configuration", "set",
             {QVariant::fromValue(uchar{2}), QVariant::fromValue(uchar{7}),
              QVariant::fromValue(uchar{9})});
        reaches("configuration 2 7 9");
        call("device/io/output/frequency/0", "set", {1000u});
        reaches("frequency-output 1000");
        call("oem_profile", "set_code", {QVariant::fromValue(uchar{3})});
        reaches("oem 3");
        call("device/io/output/digital/2", "disable", {});
        reaches("output 2 disabled");
        terminal.daemon.signal(SIGTERM);
        if (!terminal.daemon.wait_for_end())
            qFatal("the daemon does not end");
        reaches("digest off");
        controller_.end();
        return file;
    }

private Q_SLOTS:
    void a_recording_of_the_daemon_is_played()
    {
        const QByteArray text = scenario_of(record());
        QCOMPARE_STARTS(text, "# Made of ");
        QCOMPARE(text.split('\n')[1], QByteArray("line"));
        const QByteArrayList calls = {
            "call device/io/output/digital/2 set b:true b:true",
            "call device/display/backlight set_brightness d:33.05",
            "call device/operating_voltage set_operating_voltage u:24",
            "call device/display/backlight/power suspend -> i:0",
            "call configuration set y:2 y:7 y:9",
            "call device/io/output/frequency/0 set u:1000",
            "call oem_profile set_code y:3",
            "call device/io/output/digital/2 set b:true b:false",
        };
        QCOMPARE(lines_of(text, "call "), calls);
        const QByteArrayList requests = {
            "< 33 20 20 00 00 00 00 00", "< 31 54 7f 00 00 00 00 00", "< 0d 18 00 00 00 00 00 00",
            "< 0b 00 fe 00 00 00 00 00", "< 0b 00 fe 00 00 00 00 00", "< 2d 03 07 09 aa 01 00 00",
            "< 29 01 03 e8 00 00 00 00", "< 3d 03 00 00 00 00 00 00", "< 33 30 30 00 00 00 00 00",
        };
        QCOMPARE(lines_of(text, "< "), requests);
        QCOMPARE(lines_of(text, "> 1c 01").size(), 1);
        QVERIFY(!lines_of(text, "raw ").isEmpty());
        QVERIFY(!lines_of(text, "> 1e ").isEmpty());
        QCOMPARE(lines_of(text, "> 12"), QByteArrayList());

        controller_.write_file(QStringLiteral("scenario.txt"), text);
        const Scenario scenario = Scenario::read(controller_.path(QStringLiteral("scenario.txt")));
        QVERIFY(scenario.only_line);
        Player player(1);
        player.start();
        QVERIFY(player.wait_for_detection());
        QCOMPARE(player.play(scenario, Delivery::whole).outcome.requests,
                 scenario.expected.requests);
        QCOMPARE(scenario.expected.requests.size(), static_cast<int>(requests.size()));
    }

    void what_no_call_sends_is_said()
    {
        controller_.write_file(QStringLiteral("odd"), "1 host 18ef78597d000000000000005"
                                                      "5\n");
        QCOMPARE(scenario_of(controller_.path(QStringLiteral("odd"))).split('\n')[2],
                 QByteArray("# 0x7d unknown: no call sends 7d 00 00 00 00 00 00 00"));
    }
};

QTEST_GUILESS_MAIN(Recording)

#include "recording.moc"
