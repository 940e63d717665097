// The dissector in tshark beside dov-line: of each frame both say the same.

#include "Explanation.h"
#include "Frame.h"
#include "Pcapng_writer.h"
#include "Shark.h"
#include "Waiting.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <random>

namespace {

constexpr int deadline_ms = 60000;
constexpr qint64 began_us = 1763713000250000;
constexpr qint64 ms = 1000;

/// A pcapng file as it is written, packet by packet.
class Line_file {
public:
    explicit Line_file(const QString& path) : file_(path)
    {
        if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            qFatal("cannot write %s", qPrintable(path));
        file_.write(Pcapng_writer::header());
    }

    QString path() const { return file_.fileName(); }

    /// Time goes on.
    void pass(qint64 us) { now_us_ += us; }

    void add(Sender sender, const QByteArray& bytes,
             Line_record::Kind kind = Line_record::Kind::bytes)
    {
        Line_record record;
        record.time_us = now_us_;
        record.sender = sender;
        record.kind = kind;
        record.missing = kind == Line_record::Kind::gap ? 5 : 0;
        record.data = reinterpret_cast<const uchar*>(bytes.constData());
        record.size = static_cast<int>(bytes.size());
        file_.write(Pcapng_writer::packet(record, began_us + now_us_));
        pass(10 * ms);
    }

private:
    QFile file_;
    qint64 now_us_ = 0;
};

QByteArray frame_of(const Message& message)
{
    return is_request(message[0])
               ? Frame::build(message, Frame::host_address, Frame::controller_address)
               : Frame::build(message);
}

QByteArray hardware_version_request()
{
    return frame_of(blank_message(Message_id::hardware_version_request));
}

QByteArray hardware_version()
{
    return frame_of(message(Message_id::hardware_version, 20));
}

QByteArray with_wrong_checksum(QByteArray frame)
{
    frame[Frame::size - 1] = static_cast<char>(frame[Frame::size - 1] + 1);
    return frame;
}

/// A message of the kind with one field of each of its numbers that matter.
QVector<Message> messages_of(const Message_kind& kind)
{
    QVector<Message> messages = {blank_message(kind.id)};
    for (const Field& field : kind.fields()) {
        QVector<qint64> numbers = {field.least, field.most, (field.least + field.most) / 2};
        for (const Code& code : field.codes)
            numbers << code.first << code.last;
        for (const qint64 number : numbers) {
            Message message = blank_message(kind.id);
            field.put(message, number);
            messages.append(message);
        }
    }
    return messages;
}

/// A socket's name is there before anybody can connect to it.
bool is_listened_on(const QString& path)
{
    QFile sockets(QStringLiteral("/proc/net/unix"));
    if (!sockets.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray& line : sockets.readAll().split('\n')) {
        // Number, references, protocol, flags...
        if (line.endsWith(' ' + QFile::encodeName(path)) &&
            line.simplified().split(' ').value(3) == "00010000")
            return true;
    }
    return false;
}

QString field_name(const Field& field)
{
    return QStringLiteral("dov.") + QLatin1String(field.name);
}

bool has_parts(const Field& field)
{
    return field.type == Field_type::bits || field.type == Field_type::two_bits;
}

bool has_value(const Field& field)
{
    return field.unit.scale < 1 || field.unit.scale > 1;
}

/// What tshark is asked for besides the fields of messages.
const QStringList& own_names()
{
    static const QStringList names = {
        QStringLiteral("dov.number"),
        QStringLiteral("dov.kind"),
        QStringLiteral("dov.id"),
        QStringLiteral("dov.message"),
        QStringLiteral("dov.request"),
        QStringLiteral("dov.answer"),
        QStringLiteral("dov.response_time"),
        QStringLiteral("dov.late"),
        QStringLiteral("dov.unanswered"),
        QStringLiteral("dov.wrong_checksum"),
        QStringLiteral("dov.wrong_addresses"),
        QStringLiteral("dov.unknown_identifier"),
        QStringLiteral("dov.late_answer"),
        QStringLiteral("dov.skipped_bytes"),
        QStringLiteral("dov.hang_up"),
        QStringLiteral("dov.gap"),
    };
    return names;
}

/// What tshark writes for expert information that is there.
const QString present = QStringLiteral("1");

QStringList all_names()
{
    QStringList names = own_names();
    for (const Field& field : field_catalogue) {
        names.append(field_name(field));
        for (int i = 0; has_parts(field) && i < field.count; ++i)
            names.append(field_name(field) + QStringLiteral(".%1").arg(i));
        if (has_value(field))
            names.append(field_name(field) + QStringLiteral(".value"));
    }
    names.removeDuplicates();
    return names;
}

/// A cell, however this version of tshark writes numbers and truth.
QString plain(const QString& text)
{
    if (text == QLatin1String("True"))
        return QStringLiteral("1");
    if (text == QLatin1String("False"))
        return QStringLiteral("0");
    bool good = false;
    const qlonglong whole = text.toLongLong(&good, 0);
    if (good)
        return QString::number(whole);
    const double number = text.toDouble(&good);
    return good ? QString::number(number, 'g', 9) : text;
}

QString plain(double number)
{
    return QString::number(number, 'g', 9);
}

/// What the dissector has to say of a field, by what dov-line says of it.
void expect_field(Shark::Packet& packet, const Field& field, const QJsonObject& said)
{
    const QString name = field_name(field);
    const QString text = said[QStringLiteral("text")].toString();
    const double number = said[QStringLiteral("number")].toDouble();
    if (field.type == Field_type::version)
        packet[name].append(text);
    else if (field.type == Field_type::bytes)
        packet[name].append(plain(text.toLower()));
    else
        packet[name].append(plain(number));
    const auto bits = static_cast<uchar>(has_parts(field) ? number : 0); // else it may be larger
    for (uint i = 0; has_parts(field) && i < field.count; ++i) {
        const int part = field.type == Field_type::bits ? int{input_bit(bits, i)}
                                                        : static_cast<int>(output_code(bits, i));
        packet[name + QStringLiteral(".%1").arg(i)].append(QString::number(part));
    }
    if (has_value(field))
        packet[name + QStringLiteral(".value")].append(
            plain(said[QStringLiteral("value")].toDouble()));
}

void expect_frame(Shark::Packet& packet, const QJsonObject& event)
{
    const auto id = static_cast<uchar>(event[QStringLiteral("id")].toString().toUInt(nullptr, 0));
    packet[QStringLiteral("dov.id")].append(QString::number(id));
    if (find_message(id) == nullptr)
        packet[QStringLiteral("dov.unknown_identifier")].append(present);
    else
        packet[QStringLiteral("dov.message")].append(event[QStringLiteral("name")].toString());
    if (!event[QStringLiteral("right_addresses")].toBool())
        packet[QStringLiteral("dov.wrong_addresses")].append(present);
    const QJsonObject fields = event[QStringLiteral("fields")].toObject();
    for (const Field& field : fields_of(id))
        expect_field(packet, field, fields[QLatin1String(field.name)].toObject());

    for (const char* partner : {"request", "answer"}) {
        if (event.contains(QLatin1String(partner)))
            packet[QStringLiteral("dov.") + QLatin1String(partner)].append(
                QString::number(event[QLatin1String(partner)].toInt()));
    }
    if (event.contains(QStringLiteral("response_ms")))
        packet[QStringLiteral("dov.response_time")].append(
            plain(event[QStringLiteral("response_ms")].toDouble() / 1000));
    if (event.contains(QStringLiteral("request"))) {
        const bool is_late = event[QStringLiteral("late")].toBool();
        packet[QStringLiteral("dov.late")].append(QString::number(int{is_late}));
        if (is_late)
            packet[QStringLiteral("dov.late_answer")].append(present);
    }
    if (event.contains(QStringLiteral("answered")) && !event[QStringLiteral("answered")].toBool())
        packet[QStringLiteral("dov.unanswered")].append(present);
}

void expect_event(Shark::Packet& packet, const QJsonObject& event)
{
    const QString kind = event[QStringLiteral("kind")].toString();
    packet[QStringLiteral("dov.number")].append(
        QString::number(event[QStringLiteral("number")].toInt()));
    packet[QStringLiteral("dov.kind")].append(kind);
    if (kind == QLatin1String("frame"))
        expect_frame(packet, event);
    if (kind == QLatin1String("broken"))
        packet[QStringLiteral("dov.wrong_checksum")].append(present);
    if (kind == QLatin1String("skipped"))
        packet[QStringLiteral("dov.skipped_bytes")].append(present);
    if (kind == QLatin1String("gap"))
        packet[QStringLiteral("dov.gap")].append(present);
    if (kind == QLatin1String("hang-up"))
        packet[QStringLiteral("dov.hang_up")].append(present);
}

/// A packet a line, and in it what there is to say.
QStringList lines_of(const QVector<Shark::Packet>& packets)
{
    QStringList lines;
    for (const Shark::Packet& packet : packets) {
        QStringList cells;
        for (const QString& name : all_names()) {
            QStringList values;
            for (const QString& value : packet[name])
                values.append(plain(value));
            if (!values.isEmpty())
                cells.append(name + QLatin1Char('=') + values.join(QLatin1Char('|')));
        }
        lines.append(cells.join(QLatin1Char(' ')));
    }
    return lines;
}

QVector<QJsonObject> said_by_dov_line(const QString& file)
{
    QProcess process;
    process.start(QStringLiteral(DOV_LINE),
                  {QStringLiteral("read"), QStringLiteral("--json"), file});
    if (!process.waitForFinished(deadline_ms) || process.exitCode() != 0)
        qFatal("dov-line: %s", process.readAllStandardError().constData());
    QVector<QJsonObject> events;
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        if (!line.isEmpty())
            events.append(QJsonDocument::fromJson(line).object());
    }
    return events;
}

} // namespace

class Dissector : public QObject {
    Q_OBJECT

    Shark shark_;

    /// Holds both against each other, packet by packet; which events end in a packet, tshark says,
    /// and none may be left over.
    void compare(const QString& file) const
    {
        const QVector<Shark::Packet> found = shark_.fields(file, all_names());
        const QVector<QJsonObject> events = said_by_dov_line(file);
        QVector<Shark::Packet> expected;
        int told = 0;
        for (const Shark::Packet& packet : found) {
            expected.append(Shark::Packet());
            for (int i = 0; i < packet[QStringLiteral("dov.number")].size(); ++i) {
                if (told < events.size())
                    expect_event(expected.last(), events[told]);
                ++told;
            }
        }
        QCOMPARE(lines_of(found), lines_of(expected));
        QCOMPARE(told, static_cast<int>(events.size()));
    }

private Q_SLOTS:
    void every_message_and_field()
    {
        Line_file file(shark_.path("messages.pcapng"));
        for (const Message_kind& kind : message_catalogue) {
            const bool is_host = kind.direction == Direction::to_controller;
            for (const Message& message : messages_of(kind))
                file.add(is_host ? Sender::host : Sender::controller, frame_of(message));
        }
        file.pass(1000 * ms);
        file.add(Sender::controller, frame_of(blank_message(Message_id::atx)));
        compare(file.path());
    }

    void whatever_comes()
    {
        Line_file file(shark_.path("trouble.pcapng"));
        const QByteArray request = hardware_version_request();
        const QByteArray answer = hardware_version();
        file.add(Sender::host, request);
        file.add(Sender::controller, answer.left(5));
        file.add(Sender::host, request);
        file.add(Sender::controller, answer.mid(5) + answer);
        file.add(Sender::controller, QByteArray::fromHex("aabbcc"));
        file.add(Sender::controller, with_wrong_checksum(answer));
        file.add(Sender::controller, QByteArray::fromHex("18ef5978") + answer);
        file.add(Sender::controller, QByteArray::fromHex("1818ef1818ef59"));
        file.add(Sender::controller, answer + QByteArray::fromHex("00"));
        file.add(Sender::controller, frame_of(message(0x77, 1, 2, 3)));
        file.add(Sender::controller, frame_of(message(0x00)));
        file.add(Sender::controller, request);
        file.add(Sender::host, answer);
        file.add(Sender::controller, {}, Line_record::Kind::hang_up);
        file.add(Sender::controller, {}, Line_record::Kind::connection);
        file.add(Sender::controller, {}, Line_record::Kind::gap);
        file.add(Sender::host, request);
        file.pass(400 * ms);
        file.add(Sender::controller, answer); // late
        file.add(Sender::host, request);
        file.pass(400 * ms);
        file.add(Sender::host, request);
        file.add(Sender::controller, answer); // of the second
        file.add(Sender::controller, answer); // of none
        file.add(Sender::host, request);
        file.pass(290 * ms - 1);
        file.add(Sender::controller, answer); // just in time
        file.add(Sender::host, request);
        file.pass(290 * ms + 1);
        file.add(Sender::controller, answer); // just too late
        compare(file.path());
    }

    // Frames, broken and cut ones and anything else, in any packets.
    void any_bytes()
    {
        Line_file file(shark_.path("any.pcapng"));
        std::mt19937 random(20261122);
        const auto below = [&random](int limit) {
            return static_cast<int>(random() % static_cast<unsigned>(limit));
        };
        QByteArray bytes[2];
        for (int i = 0; i < 3000; ++i) {
            const auto id = static_cast<uchar>(0x11 + below(4));
            const int side = below(2);
            QByteArray frame = frame_of(message(id, below(256), below(256)));
            if (below(4) == 0)
                frame[below(Frame::size)] = static_cast<char>(below(256));
            if (below(6) == 0)
                frame.truncate(below(Frame::size));
            if (below(6) == 0)
                frame.prepend(QByteArray::fromHex("18ef").left(1 + below(2)));
            bytes[side] += frame;
            const auto size = below(30);
            if (size > 0 && !bytes[side].isEmpty()) {
                file.add(side == 0 ? Sender::host : Sender::controller, bytes[side].left(size));
                bytes[side].remove(0, size);
                file.pass(below(100) * ms);
            }
        }
        // Nothing stays undecided.
        for (const Sender side : {Sender::host, Sender::controller}) {
            file.add(side, bytes[static_cast<int>(side)] + QByteArray(2 * Frame::size, '\0'));
            file.pass(1000 * ms);
        }
        file.add(Sender::controller, frame_of(blank_message(Message_id::atx)));
        compare(file.path());
    }

    void an_answer_names_its_request_at_once()
    {
        Line_file file(shark_.path("pair.pcapng"));
        file.add(Sender::controller, hardware_version());
        file.add(Sender::host, hardware_version_request());
        file.add(Sender::controller, hardware_version());
        const QString said = shark_.run({QStringLiteral("-r"), file.path(), QStringLiteral("-T"),
                                         QStringLiteral("fields"), QStringLiteral("-e"),
                                         QStringLiteral("dov.request_in"), QStringLiteral("-e"),
                                         QStringLiteral("dov.response_time")});
        QCOMPARE(said, QStringLiteral("\t\n\t\n2\t0.010000000\n"));
    }

    void a_request_names_its_answers_packet()
    {
        Line_file file(shark_.path("pair.pcapng"));
        file.add(Sender::host, hardware_version_request());
        file.add(Sender::host, hardware_version_request());
        file.add(Sender::controller, hardware_version());
        QCOMPARE(shark_.matching(file.path(), QStringLiteral("dov.answer_in == 3")),
                 QStringList{QStringLiteral("1")});
    }

    // Nobody can know yet what becomes of the last ones.
    void what_is_not_decided_is_not_judged()
    {
        Line_file file(shark_.path("end.pcapng"));
        file.add(Sender::host, hardware_version_request());
        file.add(Sender::controller, hardware_version().left(7));
        const auto packets = shark_.fields(file.path(), {QStringLiteral("dov.kind"),
                                                         QStringLiteral("dov.unanswered"),
                                                         QStringLiteral("dov.unfinished")});
        QCOMPARE(static_cast<int>(packets.size()), 2);
        QCOMPARE(packets[0][QStringLiteral("dov.unanswered")], QStringList());
        QCOMPARE(packets[1][QStringLiteral("dov.kind")], QStringList());
        QCOMPARE(packets[1][QStringLiteral("dov.unfinished")],
                 QStringList{QStringLiteral("18ef5978121400")});
    }

    void a_frame_of_several_packets_names_the_first()
    {
        Line_file file(shark_.path("split.pcapng"));
        file.add(Sender::controller, hardware_version().left(2));
        file.add(Sender::controller, hardware_version().mid(2, 3));
        file.add(Sender::controller, hardware_version().mid(5));
        QCOMPARE(shark_.matching(file.path(), QStringLiteral("dov.begins_in == 1 && "
                                                             "dov.revision == 20")),
                 QStringList{QStringLiteral("3")});
    }

    void filters_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("packets");
        const auto row = [](const char* filter, const char* packets) {
            QTest::newRow(filter) << QString::fromLatin1(filter) << QString::fromLatin1(packets);
        };
        row("dov", "1 2 3 4 5 6 7");
        row("dov.message == \"digest\"", "1 2");
        row("dov.id == 0x36", "1 2");
        row("dov.analog > 2400", "2 3");
        row("dov.analog.value > 2.4", "2 3");
        row("dov.inputs.3 == 1", "1");
        row("dov.switch == \"on\"", "4");
        row("dov.outputs.1 == \"disabled\"", "5");
        row("dov.temperature0 < -10", "6");
        row("dov.firmware == \"v2.1.7\"", "7");
        row("dov.sender == \"host\"", "4");
    }

    void filters()
    {
        QFETCH(QString, filter);
        QFETCH(QString, packets);
        Line_file file(shark_.path("filters.pcapng"));
        file.add(Sender::controller, frame_of(message(Message_id::digest, 0x08, 0x09, 0x10)));
        file.add(Sender::controller, frame_of(message(Message_id::digest, 0x01, 0x09, 0xc4)));
        file.add(Sender::controller, frame_of(message(Message_id::analog_input, 0x09, 0xc4)));
        file.add(Sender::host, frame_of(message(Message_id::power_switch, 1, 0xfe)));
        file.add(Sender::controller,
                 frame_of(message(Message_id::digital_outputs_report, 0, 0x0c)));
        file.add(Sender::controller, frame_of(message(Message_id::temperatures, 0xf5)));
        file.add(Sender::controller, frame_of(message(Message_id::firmware_version, 0, 7, 1, 2)));
        QCOMPARE(shark_.matching(file.path(), filter).join(QLatin1Char(' ')), packets);
    }

    // The list of packets says what dov-line says.
    void texts()
    {
        Line_file file(shark_.path("texts.pcapng"));
        for (const Message_kind& kind : message_catalogue) {
            const bool is_host = kind.direction == Direction::to_controller;
            for (const Message& message : messages_of(kind))
                file.add(is_host ? Sender::host : Sender::controller, frame_of(message));
        }
        QStringList expected;
        for (const QJsonObject& event : said_by_dov_line(file.path())) {
            const auto bytes =
                QByteArray::fromHex(event[QStringLiteral("bytes")].toString().toLatin1());
            const Message said = Frame::message_of(bytes);
            QStringList fields;
            for (const Explained_field& field : explain(said))
                fields.append(label_of(*field.field) + QLatin1Char(' ') + field.text);
            const QString text = event[QStringLiteral("id")].toString() + QLatin1Char(' ') +
                                 QLatin1String(find_message(said[0])->label);
            expected.append(fields.isEmpty()
                                ? text
                                : text + QStringLiteral(": ") + fields.join(QStringLiteral(", ")));
        }
        const QString said = shark_.run({QStringLiteral("-r"), file.path(), QStringLiteral("-o"),
                                         QStringLiteral("gui.column.format:\"Info\",\"%i\"")});
        QStringList found;
        for (const QString& line : said.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            found.append(line.trimmed());
        QCOMPARE(found, expected);
    }

    // The link type is anybody's.
    void others_packets_are_left_alone()
    {
        const QString path = shark_.path("others.pcapng");
        {
            const Line_file file(path);
        }
        Line_record record;
        const uchar byte = 0x45;
        record.data = &byte;
        record.size = 1;
        QByteArray packet = Pcapng_writer::packet(record, began_us);
        constexpr int data_at = 28;
        packet[data_at] = 0x42; // no sender
        QFile file(path);
        QVERIFY(file.open(QIODevice::Append));
        file.write(packet);
        file.close();
        QCOMPARE(shark_.matching(path, QStringLiteral("dov.sender")), QStringList());
        QCOMPARE(shark_.matching(path, QStringLiteral("data")), QStringList{QStringLiteral("1")});
    }

    void a_running_tap_is_an_interface_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("that writes a file") << shark_.path("live.pcapng");
        QTest::newRow("that gives a socket") << shark_.path("live");
    }

    void a_running_tap_is_an_interface()
    {
        QFETCH(QString, path);
        const QString interfaces = shark_.run({QStringLiteral("-D")});
        QCOMPARE_CONTAINS(
            interfaces,
            QLatin1String("dov-line (Display terminal's line to the power controller)"));

        Line_file file(shark_.path("live.pcapng"));
        file.add(Sender::host, hardware_version_request());
        QProcess socket;
        socket.start(
            QStringLiteral("socat"),
            {QStringLiteral("-u"), QStringLiteral("OPEN:%1,ignoreeof").arg(file.path()),
             QStringLiteral("UNIX-LISTEN:%1,mode=777,unlink-early").arg(shark_.path("live"))});
        QVERIFY(wait_for([this] { return is_listened_on(shark_.path("live")); }));

        QProcess process;
        shark_.start(process,
                     {QStringLiteral("-l"), QStringLiteral("-i"), QStringLiteral("dov-line"),
                      QStringLiteral("-o"), QStringLiteral("extcap.dov_line.file:") + path,
                      QStringLiteral("-T"), QStringLiteral("fields"), QStringLiteral("-e"),
                      QStringLiteral("dov.message")});
        QString said;
        const auto hear = [&process, &said](const char* text) {
            return wait_for([&process, &said, text] {
                said += QString::fromUtf8(process.readAllStandardOutput());
                return said == QLatin1String(text);
            });
        };
        QVERIFY2(hear("hardware_version_request\n"), qPrintable(said));
        file.add(Sender::controller, hardware_version());
        QVERIFY2(hear("hardware_version_request\nhardware_version\n"), qPrintable(said));
        process.terminate();
        QVERIFY(process.waitForFinished(deadline_ms));
        socket.terminate();
        QVERIFY(socket.waitForFinished(deadline_ms));
    }

    void the_interface_says_what_is_wrong_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text");
        const auto row = [](const QStringList& arguments, int status, const char* text) {
            QTest::newRow(text) << arguments << status
                                << QStringLiteral("dov-line-extcap: ") + QLatin1String(text);
        };
        const QString capture = QStringLiteral("--capture");
        const QString fifo = QStringLiteral("--fifo=/dev/null");
        row({}, 2, "Wireshark runs it, see dov-line-extcap(1)");
        row({QStringLiteral("--what")}, 2, "--what: what is that?");
        row({QStringLiteral("--fifo")}, 2, "--fifo needs a value");
        row({QStringLiteral("--extcap-interface"), QStringLiteral("eth0")}, 2,
            "eth0: there is no such interface");
        row({capture}, 2, "--capture needs --fifo");
        row({capture, fifo, QStringLiteral("--file"), QStringLiteral("/nowhere/a line")}, 1,
            "there is no tap: /nowhere/a line");
    }

    void the_interface_says_what_is_wrong()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, text);
        QProcess process;
        process.start(QStringLiteral(DOV_EXTCAP), arguments);
        QVERIFY(process.waitForFinished(deadline_ms));
        QCOMPARE(QString::fromUtf8(process.readAllStandardError()).trimmed(), text);
        QCOMPARE(process.exitCode(), status);
    }
};

QTEST_GUILESS_MAIN(Dissector)
#include "dissector.moc"
