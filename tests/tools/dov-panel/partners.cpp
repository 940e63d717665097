// dov-panel between the bus, the vehicle, the line and its pages: every way there and back, and
// each of them coming and going.

#include "Controller_process.h"
#include "Panel_page.h"
#include "Terminal.h"

#include <QFileInfo>
#include <QTcpSocket>

#include <csignal>

class Partners : public QObject {
    Q_OBJECT

    std::unique_ptr<Controller_process> controller_;
    std::unique_ptr<Terminal> terminal_;
    std::unique_ptr<Bound_process> tap_;
    std::unique_ptr<Panel_process> panel_;
    std::unique_ptr<Panel_page> page_;

    Panel_page& page() { return *page_; }
    Terminal& terminal() { return *terminal_; }
    QString path(const char* name) const { return controller_->path(QLatin1String(name)); }

    static QString analog() { return QStringLiteral("device/io/input/analog/0"); }
    static QString output(int number)
    {
        return QStringLiteral("device/io/output/digital/%1").arg(number);
    }

    /// Of any bus at the place of the terminal's: one that is started again is another.
    QString bus_address()
    {
        return QStringLiteral("unix:path=%1/bus").arg(terminal().bus.directory());
    }

    /// The panel, on the terminal's bus, with a page open.
    void start_panel(const QStringList& more = {})
    {
        panel_ = std::make_unique<Panel_process>();
        panel_->start(QStringList{QStringLiteral("--bus"), bus_address(),
                                  QStringLiteral("--interval"), QStringLiteral("50"),
                                  QStringLiteral("--control")} +
                      more);
        page_ = std::make_unique<Panel_page>(*panel_);
        QVERIFY(page().opens());
        QCOMPARE(page().take_token(panel_->token()), QString());
    }

    void start_controller()
    {
        controller_->start({QStringLiteral("--link"), path("device"), QStringLiteral("--socket"),
                            path("bench"), QStringLiteral("--input=analog 1000")},
                           false);
        QVERIFY(wait_for([this] { return !controller_->devices().isEmpty(); }));
    }

    void start_tap()
    {
        tap_ = std::make_unique<Bound_process>();
        tap_->start(QStringLiteral(DOV_LINE),
                    {QStringLiteral("tap"), QStringLiteral("--quiet"), QStringLiteral("--device"),
                     path("device"), QStringLiteral("--link"), path("line"),
                     QStringLiteral("--socket"), path("feed")});
        QVERIFY(wait_for([this] { return QFileInfo::exists(path("line")); }));
    }

    /// Everything that there can be: vehicle, line, daemon and panel.
    void start_all()
    {
        start_controller();
        start_tap();
        terminal().start({QStringLiteral("--port"), path("line")});
        start_panel(
            {QStringLiteral("--controller"), path("bench"), QStringLiteral("--tap"), path("feed")});
    }

    bool partner_becomes(const char* name, const char* state)
    {
        const QString wanted = QString::fromLatin1(state);
        return wait_for([&] { return page().partner(QString::fromLatin1(name)) == wanted; });
    }

    bool becomes(const QString& object, const char* member, const QJsonValue& value)
    {
        const QString name = QString::fromLatin1(member);
        const bool is_so = wait_for([&] { return page().knows(object, name, value); });
        if (!is_so)
            qWarning().noquote() << object << name << "is" << page().value(object, name);
        return is_so;
    }

    QJsonObject state()
    {
        return page().last(QStringLiteral("state"))[QStringLiteral("state")].toObject();
    }

    int counter(const char* name)
    {
        return page()
            .last(QStringLiteral("line"))
            .value(QStringLiteral("counters"))
            .toObject()
            .value(QLatin1String(name))
            .toInt();
    }

    /// Whether a frame has been told of which all members given are so.
    bool sees_frame(const QJsonObject& wanted)
    {
        return wait_for([&] {
            for (const QJsonValue& each : page().frames()) {
                const QJsonObject frame = each.toObject();
                bool is_it = true;
                for (auto member = wanted.begin(); member != wanted.end(); ++member)
                    is_it = is_it && frame.value(member.key()) == member.value();
                if (is_it)
                    return true;
            }
            return false;
        });
    }

    /// A frame that has been told of; empty without it.
    QJsonObject frame_with(const char* member, const QJsonValue& value)
    {
        for (const QJsonValue& frame : page().frames())
            if (frame.toObject().value(QLatin1String(member)) == value)
                return frame.toObject();
        return {};
    }

    QByteArray recording()
    {
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(panel_->port()));
        socket.write("GET /recording HTTP/1.1\r\nConnection: close\r\nHost: 127.0.0.1:" +
                     QByteArray::number(panel_->port()) + "\r\n\r\n");
        (void)wait_for([&] { return socket.state() == QAbstractSocket::UnconnectedState; });
        return socket.readAll();
    }

private Q_SLOTS:
    void init()
    {
        controller_ = std::make_unique<Controller_process>();
        terminal_ = std::make_unique<Terminal>();
    }

    void cleanup()
    {
        page_.reset();
        panel_.reset();
        terminal_.reset();
        tap_.reset();
        controller_.reset();
    }

    void a_change_on_the_line_is_on_the_page()
    {
        terminal().start();
        start_panel();
        QVERIFY(partner_becomes("bus", "here"));
        QVERIFY(partner_becomes("service", "here"));
        const QString input = QStringLiteral("device/io/input/digital/0");
        QVERIFY(becomes(input, "is_on", false));
        terminal().send("3601000000000000");
        QVERIFY(becomes(input, "is_on", true));
        terminal().send("3600000000000000");
        QVERIFY(becomes(input, "is_on", false));
        const int object = page().object(input);
        const QJsonObject answer =
            page().ask({{QStringLiteral("type"), QStringLiteral("history")},
                        {QStringLiteral("object"), object},
                        {QStringLiteral("member"), QStringLiteral("is_on")}});
        QVERIFY(answer.value(QStringLiteral("ok")).toBool());
        const QJsonObject history = page().last(QStringLiteral("history"));
        QCOMPARE(history.value(QStringLiteral("object")).toInt(), object);
        const QJsonArray points = history.value(QStringLiteral("points")).toArray();
        QVERIFY(points.size() >= 2);
        QCOMPARE(points.last().toArray()[1].toBool(true), false);
    }

    void the_service_comes_and_goes()
    {
        start_panel();
        QVERIFY(partner_becomes("bus", "here"));
        QVERIFY(partner_becomes("service", "away"));
        terminal().start();
        QVERIFY(partner_becomes("service", "here"));
        QVERIFY(becomes(output(0), "is_on", false));
        QVERIFY(terminal().ends_cleanly());
        QVERIFY(partner_becomes("service", "away"));
        QVERIFY(becomes(output(0), "is_on", QJsonValue()));
        QCOMPARE(page()
                     .call(output(0), QStringLiteral("is_on"))
                     .value(QStringLiteral("error"))
                     .toString(),
                 QStringLiteral("the service is not on the bus"));
    }

    void the_bus_comes_and_goes()
    {
        terminal().bus.stop();
        start_panel();
        QVERIFY(partner_becomes("bus", "away"));
        QVERIFY(!page()
                     .last(QStringLiteral("partners"))
                     .value(QStringLiteral("texts"))
                     .toObject()
                     .value(QStringLiteral("bus"))
                     .toString()
                     .isEmpty());
        terminal().bus.start();
        QVERIFY(partner_becomes("bus", "here"));
        terminal().bus.stop();
        QVERIFY(partner_becomes("bus", "away"));
        QVERIFY(page().is_open());
    }

    void the_vehicle_comes_and_goes()
    {
        start_panel({QStringLiteral("--controller"), path("bench")});
        QVERIFY(partner_becomes("controller", "away"));
        QCOMPARE(page().bench(QStringLiteral("ignition off")),
                 QStringLiteral("the controller is not here"));
        start_controller();
        QVERIFY(partner_becomes("controller", "here"));
        QVERIFY(wait_for([this] { return !state().isEmpty(); }));
        QCOMPARE(page().bench(QStringLiteral("ignition off")), QString());
        QCOMPARE(state()[QStringLiteral("ignition")], QJsonValue(false));
        QCOMPARE(page().bench(QStringLiteral("hardware 300")),
                 QStringLiteral("column 10: \"300\" is not a revision from 0 to 255"));
        controller_->end();
        QVERIFY(partner_becomes("controller", "away"));
        QVERIFY(wait_for([this] {
            return page().last(QStringLiteral("state"))[QStringLiteral("state")].isNull();
        }));
        QCOMPARE(page().bench(QStringLiteral("ignition on")),
                 QStringLiteral("the controller is not here"));
        controller_ = std::make_unique<Controller_process>();
    }

    void the_line_comes_and_goes()
    {
        start_controller();
        start_panel({QStringLiteral("--tap"), path("feed")});
        QVERIFY(partner_becomes("tap", "away"));
        start_tap();
        QVERIFY(partner_becomes("tap", "here"));
        tap_->terminate();
        QVERIFY(partner_becomes("tap", "away"));
        QVERIFY(wait_for([this] { return tap_->state() == QProcess::NotRunning; }));
        start_tap();
        QVERIFY(partner_becomes("tap", "here"));
    }

    void an_input_moves_from_the_page_to_the_page()
    {
        start_all();
        QVERIFY(becomes(analog(), "get_value", 1.0));
        QCOMPARE(page().bench(QStringLiteral("input analog 2500")), QString());
        QVERIFY(becomes(analog(), "get_value", 2.5));
    }

    void what_came_of_a_command_is_told_before_its_answer()
    {
        start_controller();
        start_panel({QStringLiteral("--controller"), path("bench")});
        QVERIFY(partner_becomes("controller", "here"));
        for (int revision = 1; revision <= 50; ++revision) {
            QCOMPARE(page().bench(QStringLiteral("hardware %1").arg(revision)), QString());
            QCOMPARE(state()[QStringLiteral("hardware")], QJsonValue(revision));
        }
    }

    void a_press_of_the_button_is_on_every_page()
    {
        start_all();
        QVERIFY(partner_becomes("service", "here"));
        const QString button = QStringLiteral("power/button");
        QVERIFY(page().value(button, QStringLiteral("short_press")).isUndefined());
        QCOMPARE(page().bench(QStringLiteral("button press")), QString());
        QVERIFY(becomes(button, "short_press", 1));
        Panel_page later(*panel_);
        QVERIFY(later.opens());
        QVERIFY(later.knows(button, QStringLiteral("short_press"), 1));
        // What has happened has happened.
        terminal().daemon.signal(SIGTERM);
        QVERIFY(partner_becomes("service", "away"));
        QVERIFY(page().knows(button, QStringLiteral("short_press"), 1));
    }

    void an_output_is_switched_and_reaches_the_controller()
    {
        start_all();
        QVERIFY(becomes(output(2), "is_on", false));
        const QJsonObject answer = page().call(output(2), QStringLiteral("on"));
        QVERIFY2(answer.value(QStringLiteral("ok")).toBool(),
                 qPrintable(answer.value(QStringLiteral("error")).toString()));
        QVERIFY(becomes(output(2), "is_on", true));
        QVERIFY(wait_for([this] {
            return state()[QStringLiteral("outputs")]
                .toArray()[2]
                .toObject()[QStringLiteral("on")]
                .toBool();
        }));
    }

    void calls_are_checked_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QJsonArray>("arguments");
        QTest::addColumn<QString>("error");
        const QString backlight = QStringLiteral("device/display/backlight");
        const QString set = QStringLiteral("set_brightness");
        QTest::newRow("good") << backlight << set << QJsonArray{50.0} << QString();
        QTest::newRow("no method") << backlight << QStringLiteral("explode") << QJsonArray{}
                                   << QStringLiteral("there is no such method");
        QTest::newRow("too few") << backlight << set << QJsonArray{}
                                 << QStringLiteral("set_brightness takes 1 arguments");
        QTest::newRow("other type")
            << backlight << set << QJsonArray{QStringLiteral("50")}
            << QStringLiteral("argument 1 of set_brightness is not of the type d");
        QTest::newRow("no object") << QStringLiteral("nothing") << set << QJsonArray{50.0}
                                   << QStringLiteral("there is no such method");
    }

    void calls_are_checked()
    {
        QFETCH(QString, path);
        QFETCH(QString, method);
        QFETCH(QJsonArray, arguments);
        QFETCH(QString, error);
        terminal().start();
        start_panel();
        QVERIFY(partner_becomes("service", "here"));
        const QJsonObject answer = page().call(path, method, arguments);
        QCOMPARE(answer.value(QStringLiteral("error")).toString(), error);
        QCOMPARE(answer.value(QStringLiteral("ok")).toBool(), error.isEmpty());
    }

    void reading_needs_no_token()
    {
        terminal().start();
        start_panel();
        Panel_page looking(*panel_);
        QVERIFY(looking.opens());
        QVERIFY(partner_becomes("service", "here"));
        const QJsonObject answer = looking.call(output(1), QStringLiteral("is_on"));
        QVERIFY(answer.value(QStringLiteral("ok")).toBool());
        QCOMPARE(answer.value(QStringLiteral("value")), QJsonValue(false));
        QCOMPARE(
            looking.call(output(1), QStringLiteral("on")).value(QStringLiteral("error")).toString(),
            QStringLiteral("changing is not allowed"));
    }

    void what_one_page_changes_the_other_sees()
    {
        terminal().start();
        start_panel();
        Panel_page other(*panel_);
        QVERIFY(other.opens());
        QVERIFY(becomes(output(3), "is_on", false));
        QVERIFY(page().call(output(3), QStringLiteral("on")).value(QStringLiteral("ok")).toBool());
        QVERIFY(wait_for(
            [&] { return other.knows(output(3), QStringLiteral("is_on"), QJsonValue(true)); }));
    }

    void frames_are_shown_to_who_wants_them()
    {
        start_all();
        Panel_page other(*panel_);
        QVERIFY(other.opens());
        QCOMPARE(page().watch(true), QString());
        QVERIFY(page().call(output(0), QStringLiteral("on")).value(QStringLiteral("ok")).toBool());
        QVERIFY(sees_frame({{QStringLiteral("from"), QStringLiteral("host")},
                            {QStringLiteral("id"), 0x33},
                            {QStringLiteral("fault"), QJsonValue()}}));
        // An answer that was late has no request; then there is another.
        QJsonObject request;
        QJsonObject answer;
        QVERIFY(wait_for([&] {
            for (const QJsonValue& each : page().frames()) {
                request = each.toObject();
                answer = frame_with("answers", request[QStringLiteral("n")]);
                if (request[QStringLiteral("id")].toInt() == 0x33 && !answer.isEmpty())
                    return true;
            }
            return page().call(output(0), QStringLiteral("on")).isEmpty();
        }));
        QCOMPARE(answer[QStringLiteral("id")].toInt(), 0x34);
        QCOMPARE(answer[QStringLiteral("from")].toString(), QStringLiteral("controller"));
        QCOMPARE(answer[QStringLiteral("bytes")].toString().size(), 26);
        QVERIFY(answer[QStringLiteral("response_ms")].isDouble());
        QVERIFY(other.frames().isEmpty());
    }

    void faults_of_the_line_are_seen_and_counted()
    {
        start_all();
        QCOMPARE(page().watch(true), QString());
        QCOMPARE(page().bench(QStringLiteral("corrupt next 1")), QString());
        QCOMPARE(page().bench(QStringLiteral("atx")), QString());
        QVERIFY(sees_frame({{QStringLiteral("fault"), QStringLiteral("checksum")}}));
        QVERIFY(wait_for([this] { return counter("checksum_errors") > 0; }));
        QCOMPARE(page().bench(QStringLiteral("silence on")), QString());
        QVERIFY(sees_frame({{QStringLiteral("fault"), QStringLiteral("unanswered")}}));
        QVERIFY(wait_for([this] { return counter("unanswered") > 0; }));
        QCOMPARE(page().bench(QStringLiteral("healthy")), QString());
    }

    void the_line_can_be_saved()
    {
        start_all();
        QVERIFY(wait_for([this] { return counter("host_frames") > 0; }));
        const QByteArray text = recording();
        QCOMPARE_CONTAINS(text, "content-disposition: attachment; filename=\"line.txt\"");
        QCOMPARE_CONTAINS(text, "#! began ");
        QCOMPARE_CONTAINS(text, " host ");
    }
};

QTEST_GUILESS_MAIN(Partners)
#include "partners.moc"
