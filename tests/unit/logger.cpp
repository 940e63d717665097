#include "Logger.h"

#include "Syslog_receiver.h"
#include "Test_root.h"

#include <QTest>

#include <syslog.h>

namespace {

/// A buffer whose operations can be called one by one.
class Open_buf : public Logger::Buf {
public:
    using Buf::Buf;
    using Buf::overflow;
    using Buf::sync;
    using Buf::xsputn;
};

} // namespace

class Logger_test : public QObject {
    Q_OBJECT

    Test_root root_;
    std::unique_ptr<Syslog_receiver> log_;
    std::unique_ptr<Logger::Channel> channel_;

    QStringList datagrams()
    {
        log_->settle();
        return log_->datagrams();
    }

    static QString message(const QString& text) { return QStringLiteral("<30>orb-dbus: ") + text; }

private Q_SLOTS:
    void init()
    {
        qputenv("DOV_TEST_ROOT", root_.path().toUtf8());
        log_.reset();
        root_.remove(QStringLiteral("log"));
        log_ = std::make_unique<Syslog_receiver>(root_.path(QStringLiteral("log")));
        channel_.reset(); // closes the log, which the next opens
        channel_ = std::make_unique<Logger::Channel>("orb-dbus", 0, LOG_DAEMON, false);
    }

    void line_is_one_message_with_its_line_end()
    {
        channel_->stream(LOG_INFO) << "Timeout for "
                                   << "on"
                                   << " is " << 100 << std::endl;
        QCOMPARE(datagrams(), QStringList{message(QStringLiteral("Timeout for on is 100\n"))});
    }

    void each_line_end_ends_a_message()
    {
        channel_->stream(LOG_INFO) << "a\nb\n" << 'c' << '\n' << std::flush;
        QCOMPARE(datagrams(),
                 (QStringList{message(QStringLiteral("a\n")), message(QStringLiteral("b\n")),
                              message(QStringLiteral("c\n"))}));
    }

    void long_text_is_split_at_254()
    {
        const std::string text(300, 'x');
        channel_->stream(LOG_INFO) << text;
        QCOMPARE(datagrams(), QStringList{message(QString(254, QLatin1Char('x')))});
        channel_->stream(LOG_INFO) << std::flush;
        QCOMPARE(datagrams().value(1), message(QString(46, QLatin1Char('x'))));
    }

    void text_of_254_waits_for_its_end()
    {
        const std::string text(254, 'x');
        channel_->stream(LOG_INFO) << text;
        QCOMPARE_EMPTY(datagrams());
        channel_->stream(LOG_INFO) << 'y' << std::flush;
        QCOMPARE(datagrams(), (QStringList{message(QString(254, QLatin1Char('x'))),
                                           message(QStringLiteral("y"))}));
    }

    void byte_ff_ends_the_write_and_not_the_stream()
    {
        channel_->stream(LOG_INFO) << "before\xff"
                                      "after"
                                   << "dropped" << std::endl;
        channel_->stream(LOG_INFO) << "next" << std::endl;
        QCOMPARE(datagrams(), (QStringList{message(QStringLiteral("before")),
                                           message(QStringLiteral("next\n"))}));
    }

    void flush_of_nothing_sends_nothing()
    {
        channel_->stream(LOG_INFO) << std::flush << std::flush;
        QCOMPARE_EMPTY(datagrams());
    }

    void priority_is_the_callers()
    {
        channel_->stream(LOG_ERR) << "error" << std::endl;
        channel_->format(LOG_WARNING, "%s-%d\n", "formatted", 5);
        QCOMPARE(datagrams(), (QStringList{QStringLiteral("<27>orb-dbus: error\n"),
                                           QStringLiteral("<28>orb-dbus: formatted-5\n")}));
    }

    void stream_begins_with_the_priority_it_is_made_with()
    {
        Logger::OStream stream(LOG_ERR);
        stream << "one" << std::endl;
        stream.set_priority(LOG_DEBUG);
        stream << "two" << std::endl;
        QCOMPARE(datagrams(), (QStringList{QStringLiteral("<27>orb-dbus: one\n"),
                                           QStringLiteral("<31>orb-dbus: two\n")}));
    }

    void buffer_returns_what_it_has_taken()
    {
        Open_buf buf(LOG_INFO);
        QCOMPARE(buf.sync(), 0);
        QCOMPARE(buf.xsputn("abc", 0), std::streamsize{0});
        QCOMPARE(buf.xsputn("abc", 3), std::streamsize{3});
        QCOMPARE_EMPTY(datagrams());
        QCOMPARE(buf.xsputn("de\xff"
                            "f",
                            4),
                 std::streamsize{2});
        QCOMPARE(datagrams(), QStringList{message(QStringLiteral("abcde"))});
        QCOMPARE(buf.xsputn("\xff", 1), std::streamsize{0});
        QCOMPARE(buf.overflow('g'), int{'g'});
        QCOMPARE(datagrams().size(), 1);
        QCOMPARE(buf.overflow('\n'), int{'\n'});
        QCOMPARE(datagrams().value(1), message(QStringLiteral("g\n")));
        QCOMPARE(buf.overflow('h'), int{'h'});
        QCOMPARE(buf.overflow(EOF), EOF);
        QCOMPARE(datagrams().value(2), message(QStringLiteral("h")));
        // One character with this value is a character.
        QCOMPARE(buf.overflow(0xff), 0xff);
        QCOMPARE(datagrams().size(), 3);
        QCOMPARE(buf.sync(), 0);
        QCOMPARE(datagrams().size(), 4);
    }

    void end_of_the_channel_closes_the_log()
    {
        channel_.reset();
        syslog(LOG_DAEMON | LOG_INFO, "%s", "later");
        QCOMPARE(datagrams(), QStringList{QStringLiteral("<30>unit.logger: later")});
    }

    void nul_ends_the_text_of_a_message()
    {
        channel_->stream(LOG_INFO).write("a\0b\n", 4) << std::flush;
        QCOMPARE(datagrams(), QStringList{message(QStringLiteral("a"))});
    }
};

QTEST_GUILESS_MAIN(Logger_test)
#include "logger.moc"
