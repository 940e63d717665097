// The controller without a line: its answers, its state, its reports.

#include "Controller_model.h"
#include "Message_catalogue.h"

#include <QTest>

namespace {

Message bytes(const char* hex)
{
    const QByteArray some = QByteArray::fromHex(hex);
    Message message{};
    std::copy(some.begin(), some.end(), message.begin());
    return message;
}

QByteArray hex(const std::optional<Message>& message)
{
    if (!message)
        return "none";
    return QByteArray(reinterpret_cast<const char*>(message->data()), message_size).toHex();
}

} // namespace

class Model : public QObject {
    Q_OBJECT

    static void set_input(Controller_model& model, const char* name, double value)
    {
        model.state.inputs[static_cast<std::size_t>(input_position(name))] =
            Waveform::constant(value);
    }

private Q_SLOTS:
    void every_command_of_the_catalogue_is_answered_with_the_next_identifier()
    {
        int commands = 0;
        for (int id = 0; id < 256; ++id) {
            Controller_model model;
            const auto answer = model.receive(message(static_cast<uchar>(id)), 0);
            const bool is_command =
                std::any_of(std::begin(message_catalogue), std::end(message_catalogue),
                            [id](const Message_kind& kind) {
                                return kind.id == id && kind.direction == Direction::to_controller;
                            });
            QCOMPARE(answer.has_value(), is_command);
            if (answer)
                QCOMPARE(int((*answer)[0]), id + 1);
            commands += is_command ? 1 : 0;
        }
        QCOMPARE(commands, 18);
    }

    void every_message_of_the_controller_can_be_reported()
    {
        const Controller_model model;
        for (const Message_kind& kind : message_catalogue)
            QCOMPARE(model.report(kind.id, 0).has_value(),
                     kind.direction == Direction::from_controller);
    }

    void answers_follow_commands_data()
    {
        QTest::addColumn<QStringList>("exchange"); // command, answer, command, answer...
        const auto row = [](const char* name, const QStringList& exchange) {
            QTest::newRow(name) << exchange;
        };
        row("start-up", {"01", "0200000000000000"});
        row("power setting at start-up changes nothing", {"05ff", "0601000001000000"});
        row("line-15 mode 2", {"05020205", "0602000001000000", "05ff", "0602000001000000"});
        row("other power settings", {"05020203", "0601000001000000"});
        row("backlight power", {"0b00fe", "0c00fe0000000000", "0b01fe", "0c01fe0000000000"});
        row("power of another device", {"0b0001", "0c01fe0000000000"});
        row("operating voltage", {"0d2c", "0e2c000000000000"});
        row("versions",
            {"11", "1214000000000000", "15", "1600070102000000", "19", "1a001fa0ff010203"});
        row("frequency output", {"29012345", "2a01234500000000"});
        row("configuration by code and offset",
            {"2d030414aa01", "2e03041400000000", "2d0304005501", "2e03041400000000", "2d0204005501",
             "2e02040000000000", "2d0305005501", "2e03050000000000", "2d000407aa01",
             "2e00040700000000", "2d0004005501", "2e00040700000000"});
        row("a configuration access that is neither", {"2d030414bb01", "2e03040000000000"});
        row("backlight", {"31ffff", "32fefe0000000000", "317f05", "327f050000000000", "31ffff",
                          "327f050000000000", "3100ff", "3200ff0000000000"});
        row("outputs one by one", {"330202", "3400560000000000", "338080", "3400960000000000",
                                   "330404", "3400960000000000", "333030", "3400b60000000000",
                                   "330000", "3400b60000000000", "332020", "3400a60000000000"});
        row("outputs together", {"3300aa", "3400aa0000000000", "3300ff", "3400ff0000000000",
                                 "330055", "3400550000000000"});
        row("OEM code", {"3d03", "3e03000000000000"});
        row("ATX", {"3f", "4000000000000000"});
        row("no commands", {"7d", "none", "02", "none", "00", "none", "ff", "none"});
    }

    void answers_follow_commands()
    {
        QFETCH(QStringList, exchange);
        Controller_model model;
        for (int i = 0; i < exchange.size(); i += 2)
            QCOMPARE(hex(model.receive(bytes(exchange[i].toLatin1()), 0)),
                     exchange[i + 1].toLatin1());
    }

    void a_disabled_output_keeps_its_level()
    {
        Controller_model model;
        model.receive(bytes("330002"), 0);
        model.receive(bytes("330003"), 0);
        QVERIFY(model.state.outputs[0].on);
        QVERIFY(!model.state.outputs[0].enabled);
    }

    void inputs_stand_in_their_messages()
    {
        Controller_model model;
        const QPair<const char*, double> values[] = {
            {"digital0", 1},       {"digital1", 0},        {"digital2", 1},
            {"digital3", 1},       {"analog", 2500},       {"light", 4995},
            {"frequency", 65535},  {"voltage0", 24000},    {"voltage1", 1},
            {"voltage2", 256},     {"voltage3", 3300},     {"voltage4", 1800},
            {"voltage5", 3000},    {"temperature0", -10},  {"temperature1", 0},
            {"temperature2", 127}, {"temperature3", -128}, {"temperature4", 20.6},
            {"temperature5", 21}};
        for (const auto& value : values)
            set_input(model, value.first, value.second);
        QCOMPARE(hex(model.report(0x10, 5)), QByteArray("100d000000000000"));
        QCOMPARE(hex(model.report(0x1e, 5)), QByteArray("1e09c40000000000"));
        QCOMPARE(hex(model.report(0x20, 5)), QByteArray("2013830000000000"));
        QCOMPARE(hex(model.report(0x22, 5)), QByteArray("225dc00001010000"));
        QCOMPARE(hex(model.report(0x24, 5)), QByteArray("240ce407080bb800"));
        QCOMPARE(hex(model.report(0x28, 5)), QByteArray("28f6007f80151500"));
        QCOMPARE(hex(model.report(0x36, 5)), QByteArray("360d09c41383ffff"));
    }

    void inputs_are_cut_to_what_messages_carry()
    {
        Controller_model model;
        set_input(model, "analog", 1e6);
        set_input(model, "temperature0", -1000);
        QCOMPARE(model.input(Input::analog, 0), 65535);
        QCOMPARE(model.input(Input::temperature, 0), -128);
    }

    void a_report_depends_on_its_time_alone()
    {
        const Controller_model one;
        const Controller_model other;
        QVector<Message> forward;
        for (qint64 time = 0; time < 60000; time += 100)
            forward.append(*one.report(Message_id::digest, time));
        for (int i = static_cast<int>(forward.size()) - 1; i >= 0; --i)
            QCOMPARE(*other.report(Message_id::digest, i * 100), forward[i]);
        QCOMPARE_NE(forward[0], forward[100]);
    }

    void digests_come_at_the_interval_that_was_asked_for()
    {
        Controller_model model;
        QCOMPARE(model.next_digest(0), -1);
        QCOMPARE((*model.receive(bytes("3502"), 1000))[0], uchar(0x36));
        QCOMPARE(model.next_digest(1000), 1100);
        QCOMPARE(model.next_digest(1099), 1100);
        QCOMPARE(model.next_digest(1100), 1200);
        QCOMPARE(model.next_digest(5555), 5600);
        model.receive(bytes("35ff"), 2000);
        QCOMPARE(model.next_digest(2000), 2000 + 255 * 50);
        model.receive(bytes("3500"), 3000);
        QCOMPARE(model.next_digest(3000), -1);
    }

    void button_and_ignition()
    {
        Controller_model model;
        QCOMPARE(hex(model.receive(bytes("1b"), 0)), QByteArray("1c00000000000000"));
        model.state.button_down = true;
        QCOMPARE(hex(model.receive(bytes("1b"), 0)), QByteArray("1c01000000000000"));
        model.state.ignition = false;
        model.state.line_15_mode = 3;
        QCOMPARE(hex(model.receive(bytes("05ff"), 0)), QByteArray("0603000000000000"));
    }

    void the_last_generation_is_that_of_the_start()
    {
        const Controller_state state;
        const Generation& last = generations[std::size(generations) - 1];
        QCOMPARE(state.hardware, last.hardware);
        QCOMPARE(state.firmware, last.firmware);
    }
};

QTEST_GUILESS_MAIN(Model)
#include "model.moc"
