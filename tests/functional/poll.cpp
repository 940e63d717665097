// The periodic poll and the detection of the controller's generation.

#include "Terminal.h"

#include <QRegularExpression>

#include <map>
#include <vector>

class Poll : public QObject {
    Q_OBJECT

private:
    /// What each test has its terminal be before the daemon starts, by the test's name, what comes
    /// from the controller when it has started, and what the controller answers only behind that:
    /// it takes a while until all have started, and the polls go on meanwhile.
    struct Situation {
        const char* test;
        void (*prepare)(Terminal&);
        const char* message = nullptr;
        uchar answered_late = 0;
    };
    static std::vector<Situation> situations();

    /// The terminals, one for each test. A period lasts three seconds, so they all run from the
    /// beginning, side by side, each until its test has looked at it.
    std::map<QByteArray, std::unique_ptr<Terminal>> terminals_;

    /// Whether a failure asks a terminal what it has seen: only that of the test.
    static void set_asked(Terminal& terminal, bool asked)
    {
        terminal.set_asked(asked);
        terminal.daemon.set_asked(asked);
    }

    /// The terminal of the test that runs.
    Terminal& terminal()
    {
        Terminal& own = *terminals_.at(QTest::currentTestFunction());
        set_asked(own, true);
        return own;
    }

    static void set_versions(Terminal& terminal, const char* hardware, const char* firmware)
    {
        terminal.controller.set_answer(QByteArray::fromHex(hardware));
        terminal.controller.set_answer(QByteArray::fromHex(firmware));
        terminal.controller.set_answer(QByteArray::fromHex("1a01020304050607"));
    }

    static void set_profile(Terminal& terminal, const char* elements)
    {
        terminal.root.write(QStringLiteral("etc/oem_profile.conf"),
                            QByteArray("<profile>") + elements + "</profile>");
    }

    /// The log from the detection on.
    static QStringList detection_lines(Terminal& terminal)
    {
        QStringList lines;
        for (const QString& line : terminal.log.lines()) {
            if (line.contains(QLatin1String("detected")) ||
                line.contains(QLatin1String("changed to")) ||
                line.contains(QLatin1String("OEM code")))
                lines.append(line);
        }
        return lines.filter(QRegularExpression(QStringLiteral("^(?!Configured)")));
    }

    /// How many periods have begun since the last clear.
    static int periods(Terminal& terminal)
    {
        return static_cast<int>(terminal.daemon.output().count("Periodic\n"));
    }

    static bool wait_for_periods(Terminal& terminal, int count)
    {
        return wait_for([&] { return periods(terminal) >= count; });
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const Situation& situation : situations()) {
            auto& terminal = terminals_[situation.test];
            terminal = std::make_unique<Terminal>();
            situation.prepare(*terminal);
            terminal->launch();
        }
        for (const Situation& situation : situations()) {
            Terminal& terminal = *terminals_[situation.test];
            QVERIFY2(terminal.wait_until_started(), situation.test);
            if (situation.message != nullptr)
                terminal.send(situation.message);
            if (situation.answered_late != 0)
                terminal.controller.answer(situation.answered_late);
            set_asked(terminal, false);
        }
    }

    void cleanup() { terminals_.erase(QTest::currentTestFunction()); }

    // The longest first: the periods of the others pass meanwhile.
    void versions_that_arrive_late_one_at_a_time()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for_periods(terminal, 2));
        terminal.send("1600000501"); // firmware
        QVERIFY(wait_for_periods(terminal, periods(terminal) + 1));
        QCOMPARE(detection_lines(terminal), QStringList());
        terminal.send("120b"); // hardware; the identifier stays unknown
        QVERIFY(wait_for([&] { return terminal.controller.has_received("05020205"); }));
        terminal.settle();
        QCOMPARE(detection_lines(terminal)[0],
                 QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 1"));
        terminal.clear();
        QVERIFY(wait_for_periods(terminal, 1));
        QVERIFY(wait_for([&] { return terminal.controller.has_received("19"); }));
        QVERIFY(!terminal.controller.has_received("11"));
        QVERIFY(!terminal.controller.has_received("15"));
    }

    void silent_controller_is_asked_for_everything_each_period()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] {
            return terminal.daemon.output().count("Periodic\nSend No PC Comms\nSend No PC Comms\n"
                                                  "Send No PC Comms\n") >= 2;
        }));
        QCOMPARE(detection_lines(terminal), QStringList());
        const QStringList poll = {QStringLiteral("1b"), QStringLiteral("21"), QStringLiteral("23"),
                                  QStringLiteral("27"), QStringLiteral("19"), QStringLiteral("11"),
                                  QStringLiteral("15")};
        // Two polls, one after the start-up requests and one after the rest, 300 ms a request.
        WAIT_UNTIL(terminal.controller.requests().size(), >=, 29);
        QStringList ids;
        for (const QString& payload : terminal.controller.payloads())
            ids.append(payload.left(2));
        QCOMPARE(ids.mid(10, 7), poll);
        QCOMPARE(ids.mid(22, 7), poll);
    }

    void legacy_firmware_gets_line_15_mode_2()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] { return terminal.controller.has_received("05020205"); }));
        QVERIFY(wait_for_periods(terminal, 3));
        terminal.settle();
        QCOMPARE(detection_lines(terminal),
                 (QStringList{QStringLiteral("Legacy PMC FW detected. Current Line 15 mode is 1"),
                              QStringLiteral("Line 15 mode changed to 1")}));
        QCOMPARE(terminal.controller.payloads().count(QStringLiteral("05 02 02 05 00 00 00 00")),
                 1);
    }

    void legacy_hardware_with_newer_firmware_is_legacy()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] { return !detection_lines(terminal).isEmpty(); }));
        QVERIFY(wait_for_periods(terminal, periods(terminal) + 1));
        terminal.settle();
        // The mode is right already.
        QCOMPARE(
            detection_lines(terminal),
            QStringList{QStringLiteral("Legacy PMC Hardware detected. Current Line 15 mode is 2")});
        QVERIFY(!terminal.controller.has_received("05020205"));
    }

    void profile_controller_gets_the_delay_of_the_profile()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] { return terminal.controller.has_received("2d04040faa01"); }));
        QVERIFY(wait_for_periods(terminal, 4));
        terminal.settle();
        const QStringList payloads = terminal.controller.payloads();
        const auto query = payloads.indexOf(QStringLiteral("2d 04 04 00 55 01 00 00"));
        const auto code = payloads.indexOf(QStringLiteral("3d 03 00 00 00 00 00 00"));
        const auto write = payloads.indexOf(QStringLiteral("2d 04 04 0f aa 01 00 00"));
        QCOMPARE_GE(query, 0);
        QCOMPARE_LT(query, code);
        QCOMPARE_LT(code, write);
        QCOMPARE(payloads.count(QStringLiteral("3d 03 00 00 00 00 00 00")), 1);
        const QStringList lines = detection_lines(terminal);
        QCOMPARE(lines.mid(lines.indexOf(QStringLiteral("OEM Profile based PMC FW detected"))),
                 (QStringList{QStringLiteral("OEM Profile based PMC FW detected"),
                              QStringLiteral("Requested OEM code 3"),
                              QStringLiteral("OEM Remote Power up Delay detected. Is currently 10"),
                              QStringLiteral("Set Configuration for OEM code 4"),
                              QStringLiteral("OEM Remote Power up Delay changed to 15"),
                              QStringLiteral("OEM code was set to 0")}));
    }

    void profile_controller_with_the_same_delay_is_left_alone()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] { return terminal.controller.has_received("3d03"); }));
        QVERIFY(wait_for_periods(terminal, 4));
        terminal.settle();
        QCOMPARE(
            terminal.log.lines().filter(QStringLiteral("OEM Remote")),
            QStringList{QStringLiteral("OEM Remote Power up Delay detected. Is currently 20")});
        QVERIFY(!terminal.controller.has_received("2d040414aa01"));
    }

    void other_oem_code_with_offset_4_neither_asks_nor_detects()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] {
            return terminal.daemon.output().count("Send 01020304050607\nSend v2.0\n") >= 2;
        }));
        terminal.settle();
        QVERIFY(!terminal.controller.has_received("2d0404005501"));
        QCOMPARE(terminal.log.lines().filter(QStringLiteral("detected")), QStringList());
    }

    void no_profile_and_no_answer_neither_asks_nor_detects_on_newer_hardware()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for_periods(terminal, 3));
        terminal.settle();
        QCOMPARE(terminal.log.lines().filter(QStringLiteral("detected")), QStringList());
        QCOMPARE(terminal.controller.payloads().filter(QRegularExpression(QStringLiteral("^2d"))),
                 QStringList());
    }

    void without_a_profile_code_and_delay_are_255()
    {
        Terminal& terminal = this->terminal();
        QVERIFY(wait_for([&] { return terminal.controller.has_received("2d0004ffaa01"); }));
        QVERIFY(terminal.controller.has_received("3dff"));
        QVERIFY(wait_for([&] {
            return terminal.log.lines().contains(
                QLatin1String("OEM Remote Power up Delay changed to 255"));
        }));
    }
};

std::vector<Poll::Situation> Poll::situations()
{
    return {
        {"versions_that_arrive_late_one_at_a_time",
         [](Terminal& terminal) {
             for (const uchar id : {uchar{0x11}, uchar{0x15}, uchar{0x19}})
                 terminal.controller.ignore(id);
             terminal.controller.set_answer(QByteArray::fromHex("0601000001"));
         }},
        {"silent_controller_is_asked_for_everything_each_period",
         [](Terminal& terminal) { terminal.controller.set_silent(true); }},
        {"legacy_firmware_gets_line_15_mode_2",
         [](Terminal& terminal) {
             set_versions(terminal, "120b", "1600000501"); // v1.1, v1.5.0
             terminal.controller.set_answer(QByteArray::fromHex("0601000001"));
         }},
        {"legacy_hardware_with_newer_firmware_is_legacy",
         [](Terminal& terminal) {
             set_versions(terminal, "1200", "1600000102"); // v1.0, v2.1.0
             terminal.controller.set_answer(QByteArray::fromHex("0602000001"));
         }},
        {"profile_controller_gets_the_delay_of_the_profile",
         [](Terminal& terminal) {
             set_profile(terminal, "<code>3</code>");
             set_versions(terminal, "1214", "1600000002"); // v2.0, v2.0.0
             terminal.controller.set_answer(QByteArray::fromHex("2e04040a"));
         }},
        {"profile_controller_with_the_same_delay_is_left_alone",
         [](Terminal& terminal) {
             set_profile(terminal, "<code>3</code>"
                                   "<RemoteSwitchPowerUpTime>20</RemoteSwitchPowerUpTime>");
             set_versions(terminal, "1214", "1600000002");
             terminal.controller.set_answer(QByteArray::fromHex("2e040414"));
         }},
        {"other_oem_code_with_offset_4_neither_asks_nor_detects",
         [](Terminal& terminal) {
             set_profile(terminal, "<code>3</code>");
             set_versions(terminal, "1214", "1600000002");
             terminal.controller.ignore(0x2d);
             terminal.controller.ignore(0x11); // without a hardware version nothing is asked
         },
         "2e08040a", 0x11},
        {"no_profile_and_no_answer_neither_asks_nor_detects_on_newer_hardware",
         [](Terminal& terminal) { set_versions(terminal, "1214", "1600000002"); }},
        {"without_a_profile_code_and_delay_are_255",
         [](Terminal& terminal) { set_versions(terminal, "1214", "1600000002"); }, "2e00040a"},
    };
}

QTEST_GUILESS_MAIN(Poll)
#include "poll.moc"
