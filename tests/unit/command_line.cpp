#include "Command_line.h"

#include "Captured_console.h"

#include <QStringList>
#include <QTest>

class Command_line_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void options_and_values_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("taken");
        QTest::addColumn<bool>("finished");
        const auto row = [](const char* arguments, const char* taken, bool finished) {
            QTest::newRow(arguments)
                << QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                << QString::fromLatin1(taken).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                << finished;
        };
        row("", "", true);
        row("--port /dev/x --baudrate 9600", "port=/dev/x baudrate=9600", true);
        row("-port /dev/x", "port=/dev/x", true);
        row("--port", "port=null", true);
        row("--port --help", "port=null help=null", true);
        row("--port -help", "port=null help=null", true);
        row("word --port", "", false);
        row("--a b word", "a=b", false);
        row("-- -", "=null =null", true);
        row("---a", "-a=null", true);
        row("--refuse --port", "refuse=null", false);
    }
    void options_and_values()
    {
        QFETCH(QStringList, arguments);
        QList<QByteArray> bytes = {"program"};
        for (const QString& argument : arguments)
            bytes.append(argument.toLatin1());
        std::vector<char*> pointers;
        for (QByteArray& argument : bytes)
            pointers.push_back(argument.data());
        QStringList taken;
        const auto handler = [&taken](const char* name, const char* value) {
            taken.append(QLatin1String(name) + QLatin1Char('=') +
                         QLatin1String(value == nullptr ? "null" : value));
            return qstrcmp(name, "refuse") != 0;
        };
        const bool finished =
            walk_options(static_cast<int>(pointers.size()), pointers.data(), handler);
        QTEST(taken, "taken");
        QTEST(finished, "finished");
    }

    void baud_rates_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<uint>("rate");
        QTest::newRow("decimal") << QByteArray("115200") << 115200U;
        QTest::newRow("hexadecimal") << QByteArray("0x1C200") << 115200U;
        QTest::newRow("octal") << QByteArray("0300") << 192U;
        QTest::newRow("word") << QByteArray("x") << 0U;
        QTest::newRow("trailing") << QByteArray("9600x") << 9600U;
        QTest::newRow("cut to 32 bits") << QByteArray("0x100000000") << 0U;
        QTest::newRow("cut to 32 bits, rest") << QByteArray("0x100002580") << 9600U;
    }
    void baud_rates()
    {
        QFETCH(QByteArray, text);
        QTEST(parse_baud_rate(text.constData()), "rate");
    }

    void no_baud_rate() { QCOMPARE(parse_baud_rate(nullptr), 0U); }

    void link_options_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("value"); // null for none
        QTest::addColumn<bool>("goes_on");
        QTest::addColumn<QByteArray>("port");
        QTest::addColumn<uint>("baud_rate");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray none;
        const QByteArray port = "the port";
        QTest::newRow("port") << QByteArray("port") << QByteArray("x") << true << QByteArray("x")
                              << 1U << none;
        QTest::newRow("no port") << QByteArray("port") << none << true << none << 1U << none;
        QTest::newRow("rate") << QByteArray("baudrate") << QByteArray("9600") << true << port
                              << 9600U << none;
        QTest::newRow("no rate") << QByteArray("baudrate") << none << false << port << 0U << none;
        QTest::newRow("help") << QByteArray("help") << none << true << port << 1U
                              << QByteArray("usage\n");
        QTest::newRow("debug") << QByteArray("debug") << none << true << port << 1U
                               << QByteArray("Unknown command debug\nusage\n");
        QTest::newRow("case") << QByteArray("Port") << QByteArray("x") << true << port << 1U
                              << QByteArray("Unknown command Port\nusage\n");
    }
    void link_options()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, value);
        Link_options options{"the port", 1};
        Captured_descriptor output(STDOUT_FILENO);
        const bool goes_on =
            take_link_option(name.constData(), value.isNull() ? nullptr : value.constData(),
                             options, [] { Console::out() << "usage\n"; });
        QTEST(goes_on, "goes_on");
        QTEST(QByteArray(options.port), "port");
        QTEST(options.baud_rate, "baud_rate");
        QTEST(output.text(), "printed");
    }

    void usage()
    {
        Captured_descriptor output(STDOUT_FILENO);
        print_option_usage("prog");
        QCOMPARE(output.text(),
                 QByteArray("Usage: prog  <commands> where <commands> are a list of:\n"
                            "    --port <path>       Open serial port indicated by <path>\n"
                            "    --baudrate <rate>   Set baud rate of serial port to <baud>\n"
                            "    --debug             Turn on debugging\n"
                            "    --help              This help text\n"));
    }
};

QTEST_GUILESS_MAIN(Command_line_test)
#include "command_line.moc"
