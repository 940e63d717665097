// The command line that every tool has.

#include "Tool_command_line.h"

#include <QCoreApplication>
#include <QTest>

class Tool_command_line_test : public QObject {
    Q_OBJECT

    QStringList taken_;

    Tool_option option(const char* name, const char* value)
    {
        const QString called = QString::fromLatin1(name);
        return {called, QString::fromLatin1(value), QStringLiteral("Means something."),
                [this, called](const QString& text) {
                    taken_ += called + QLatin1Char('=') + text;
                    return text == QLatin1String("bad") ? QStringLiteral("--%1 is bad").arg(called)
                                                        : QString();
                }};
    }

    Tool_command_line plain()
    {
        Tool_command_line line(QStringLiteral("dov-x"), QStringLiteral("Does x."));
        line.add(option("rate", "number"));
        line.add(option("quiet", ""));
        line.set_further_help(QStringLiteral("\nMore.\n"));
        return line;
    }

    static Tool_request parsed(const Tool_command_line& line, const char* words)
    {
        return line.parse(QString::fromLatin1(words).split(QLatin1Char(' ')));
    }

private Q_SLOTS:
    void init() { taken_.clear(); }

    void options_are_taken_in_their_order()
    {
        const Tool_request request = parsed(plain(), "dov-x --rate 1 --quiet --rate=2");
        QVERIFY(request.runs());
        QCOMPARE(taken_, (QStringList{"rate=1", "quiet=", "rate=2"}));
    }

    void texts_are_kept_and_switches_set()
    {
        QString text = QStringLiteral("as before");
        bool is_set = false;
        bool other = false;
        Tool_command_line line(QStringLiteral("dov-x"), QStringLiteral("Does x."));
        line.add_text("text", "words", "Keeps it.", text);
        line.add_switch("set", "Sets it.", is_set);
        line.add_switch("other", "Sets the other.", other);
        QVERIFY(parsed(line, "dov-x --set").runs());
        QCOMPARE(text, QStringLiteral("as before"));
        QVERIFY(is_set);
        QVERIFY(parsed(line, "dov-x --text one --text=two").runs());
        QCOMPARE(text, QStringLiteral("two"));
        QVERIFY(!other);
        const QString help = parsed(line, "dov-x --help").text;
        QCOMPARE_CONTAINS(help, QStringLiteral("  --text <words>  Keeps it.\n"));
        QCOMPARE_CONTAINS(help, QStringLiteral("  --set           Sets it.\n"));
    }

    void errors_data()
    {
        QTest::addColumn<QString>("words");
        QTest::addColumn<QString>("text");
        QTest::newRow("unknown option") << "dov-x --bogus"
                                        << "Unknown option 'bogus'.";
        QTest::newRow("no value") << "dov-x --rate"
                                  << "Missing value after '--rate'.";
        QTest::newRow("bad value") << "dov-x --rate bad --rate 1"
                                   << "--rate is bad";
        QTest::newRow("bare word") << "dov-x --quiet word"
                                   << "not an option: word";
    }
    void errors()
    {
        QFETCH(QString, words);
        QFETCH(QString, text);
        const Tool_request request = parsed(plain(), qPrintable(words));
        QCOMPARE(request.text, text);
        QCOMPARE(request.status, int{tool_usage});
    }

    void help_and_version_end_well_data()
    {
        QTest::addColumn<QString>("words");
        QTest::addColumn<QString>("begin");
        QTest::newRow("help") << "dov-x --help"
                              << "Usage: dov-x [options]\nDoes x.\n";
        QTest::newRow("letter") << "dov-x -h"
                                << "Usage: dov-x [options]\nDoes x.\n";
        QTest::newRow("help beside an error") << "dov-x word --help"
                                              << "Usage: dov-x [options]\n";
        QTest::newRow("version") << "dov-x --version"
                                 << "dov-x " DOV_VERSION;
        QTest::newRow("its letter") << "dov-x -v"
                                    << "dov-x " DOV_VERSION;
    }
    void help_and_version_end_well()
    {
        QFETCH(QString, words);
        QFETCH(QString, begin);
        const Tool_request request = parsed(plain(), qPrintable(words));
        QCOMPARE_STARTS(request.text, begin);
        QCOMPARE(request.status, int{tool_done});
        QCOMPARE(taken_, QStringList());
    }

    void help_tells_the_options_and_what_follows_them()
    {
        const QString text = parsed(plain(), "dov-x --help").text;
        QCOMPARE_CONTAINS(text, QLatin1String("\n  --rate <number>  Means something.\n"));
        QCOMPARE_ENDS(text, QLatin1String("\nMore.\n"));
    }

    void arguments_are_counted_data()
    {
        QTest::addColumn<QString>("words");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << "dov-x"
                              << "an argument is missing";
        QTest::newRow("one") << "dov-x a" << QString();
        QTest::newRow("two, options between") << "dov-x a --quiet b" << QString();
        QTest::newRow("three") << "dov-x a b c"
                               << "one argument too many: c";
    }
    void arguments_are_counted()
    {
        QFETCH(QString, words);
        QFETCH(QString, text);
        Tool_command_line line = plain();
        line.take_arguments(1, 2, QStringLiteral("file..."), QStringLiteral("What to read."));
        const Tool_request request = parsed(line, qPrintable(words));
        QCOMPARE(request.text, text);
        QCOMPARE(request.arguments.join(QString()), QString(words)
                                                        .remove(QStringLiteral("dov-x"))
                                                        .remove(QStringLiteral("--quiet"))
                                                        .remove(QLatin1Char(' ')));
    }

    void verbs_have_options_of_their_own()
    {
        Tool_command_line read(QStringLiteral("dov-x"), QStringLiteral("Reads."));
        read.add(option("json", ""));
        read.take_arguments(1, 1, QStringLiteral("file"), QStringLiteral("What to read."));
        Tool_command_line send(QStringLiteral("dov-x"), QStringLiteral("Sends."));
        send.add(option("count", "number"));
        Tool_command_line line(QStringLiteral("dov-x"), QStringLiteral("Does x."));
        line.add_verb(QStringLiteral("read"), read);
        line.add_verb(QStringLiteral("send"), send);

        Tool_request request = parsed(line, "dov-x read --json a");
        QVERIFY2(request.runs(), qPrintable(request.text));
        QCOMPARE(request.verb, QStringLiteral("read"));
        QCOMPARE(request.arguments, QStringList("a"));
        QCOMPARE(taken_, QStringList("json="));
        QCOMPARE(parsed(line, "dov-x send --json").text, QStringLiteral("Unknown option 'json'."));
        QCOMPARE(parsed(line, "dov-x write").text,
                 QStringLiteral("not a verb: write; --help tells them"));
        QCOMPARE(parsed(line, "dov-x").text,
                 QStringLiteral("a verb is missing; --help tells them"));
        QCOMPARE(parsed(line, "dov-x").status, int{tool_usage});

        QCOMPARE_STARTS(parsed(line, "dov-x read --help").text,
                        QLatin1String("Usage: dov-x read [options] file\nReads.\n"));
        const QString help = parsed(line, "dov-x --help").text;
        QVERIFY2(help.startsWith(QLatin1String("Usage: dov-x verb [options]\nDoes x.\n")) &&
                     help.contains(QLatin1String("\n  read file                Reads.\n")),
                 qPrintable(help));
    }

    void a_refusal_does_not_replace_another()
    {
        Tool_request request;
        request.refuse(QString());
        QVERIFY(request.runs());
        request.refuse(QStringLiteral("first"));
        request.refuse(QStringLiteral("second"));
        QCOMPARE(request.text, QStringLiteral("first"));
    }

    void help_that_cannot_be_printed_is_a_failure()
    {
        Tool_request request;
        request.text = QStringLiteral("help");
        std::FILE* const full = std::fopen("/dev/full", "w");
        QVERIFY(full != nullptr);
        QVERIFY(!say(full, request.text));
        (void)std::fclose(full);
    }
};

QTEST_GUILESS_MAIN(Tool_command_line_test)
#include "tool_command_line.moc"
