#include "Captured_console.h"
#include "Reader_patience.h"

#include <QTest>

#include <thread>

#include <fcntl.h>
#include <unistd.h>

class Console_test : public QObject {
    Q_OBJECT

    /// How often a pipe delivers: what each read of it brings.
    static QList<QByteArray> pieces(const std::function<void(Text_stream&)>& print)
    {
        int ends[2];
        if (pipe2(ends, O_DIRECT) != 0) // each write stays a packet of its own
            qFatal("no pipe");
        Text_stream stream(ends[1]);
        print(stream);
        ::close(ends[1]);
        QList<QByteArray> found;
        char bytes[8192];
        for (;;) {
            const ssize_t count = read(ends[0], bytes, sizeof bytes);
            if (count <= 0)
                break;
            found.append(QByteArray(bytes, static_cast<int>(count)));
        }
        ::close(ends[0]);
        return found;
    }

private Q_SLOTS:
    void line_built_in_pieces_leaves_as_one_write()
    {
        const auto found = pieces([](Text_stream& stream) {
            stream << "Updated val=" << 0.5 << " min=" << 1 << '\n';
            stream << "next " << 7U << "\n";
        });
        QCOMPARE(found, (QList<QByteArray>{"Updated val=0.5 min=1\n", "next 7\n"}));
    }

    void batch_leaves_as_one_write()
    {
        const auto found = pieces([](Text_stream& stream) {
            {
                const Console_batch outer;
                const Console_batch inner;
                stream << "a\n";
                stream << "b\n";
            }
            stream.flush(); // the batch writes the process's own two streams
        });
        QCOMPARE(found, QList<QByteArray>{"a\nb\n"});
    }

    void what_is_put_behind_texts_goes_once_and_after_them()
    {
        static Captured_descriptor* output = nullptr;
        static Captured_descriptor* errors = nullptr;
        static QList<QByteArray> left;
        Captured_descriptor captured_output(STDOUT_FILENO);
        Captured_descriptor captured_errors(STDERR_FILENO);
        output = &captured_output;
        errors = &captured_errors;
        left.clear();
        {
            const Console_batch batch;
            QVERIFY(Console_batch::is_open());
            Console::out() << "first\n";
            Console_batch::put_behind([] { left << output->text() << errors->text(); });
            Console::err() << "half a line";
            QVERIFY(left.isEmpty());
        }
        QVERIFY(!Console_batch::is_open());
        QCOMPARE(left, (QList<QByteArray>{"first\n", "half a line"}));
        Console::flush();
        QCOMPARE(left.size(), 2);
    }

    void bytes_of_any_number()
    {
        for (const int count : {63, 64, 65, 128, 255}) {
            QByteArray data(count, '\0');
            for (int i = 0; i < count; ++i)
                data[i] = static_cast<char>(i);
            const auto found = pieces([&data](Text_stream& stream) {
                stream
                    .bytes("DINRAW: ", Byte_style::lower_spaced,
                           reinterpret_cast<const uchar*>(data.constData()),
                           static_cast<uint>(data.size()))
                    .flush();
            });
            QCOMPARE(found.join(), "DINRAW: " + data.toHex(' ') + " ");
        }
    }

    void bytes_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("lower spaced") << int(Byte_style::lower_spaced) << QByteArray("x00 0a ff ");
        QTest::newRow("lower joined") << int(Byte_style::lower_joined) << QByteArray("x000aff");
        QTest::newRow("padded spaced")
            << int(Byte_style::padded_spaced) << QByteArray("x 0  a ff ");
        QTest::newRow("padded joined") << int(Byte_style::padded_joined) << QByteArray("x 0 aff");
        QTest::newRow("upper joined") << int(Byte_style::upper_joined) << QByteArray("x000AFF");
    }
    void bytes()
    {
        QFETCH(int, style);
        QFETCH(QByteArray, text);
        const uchar data[] = {0x00, 0x0a, 0xff};
        const auto found = pieces([style, &data](Text_stream& stream) {
            stream.bytes("x", static_cast<Byte_style>(style), data, 3).flush();
        });
        QCOMPARE(found, QList<QByteArray>{text});
    }

    void numbers_read_as_percent_g()
    {
        for (const double number :
             {0.0, -1e6, 1e6, 0.001, 65.535, 20.600601, 5.16516516, 1e-7, 123456.789, 1234567.0}) {
            const auto found = pieces([number](Text_stream& stream) { stream << number << "\n"; });
            QCOMPARE(found, QList<QByteArray>{
                                QByteArray(QString::asprintf("%g", number).toLatin1()) + "\n"});
        }
    }

    void numbers_that_come_again_read_the_same()
    {
        QByteArray wanted;
        const auto found = pieces([&wanted](Text_stream& stream) {
            const Console_batch batch;
            for (int i = 0; i < 3000; ++i) {
                const double number = (i * i % 1511 - 700) * (i % 3 == 0 ? 0.001 : 1.0);
                for (int again = 0; again < 2; ++again)
                    stream << number << ' ';
                const QByteArray text = QString::asprintf("%g ", number).toLatin1();
                wanted += text + text;
            }
            stream << -0.0 << ' ' << 0.0;
            wanted += "-0 0";
            stream.flush();
        });
        QCOMPARE(found.join(), wanted);
    }

    void format_takes_any_length()
    {
        const QByteArray text(5000, 'x');
        const auto found =
            pieces([&text](Text_stream& stream) { stream.format("%s-%d\n", text.constData(), 5); });
        QByteArray joined;
        for (const QByteArray& piece : found)
            joined += piece;
        QCOMPARE(joined, text + "-5\n");
    }

    void slow_reader_gets_everything()
    {
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        const QByteArray line = QByteArray(1000, 'y') + "\n";
        constexpr int lines = 500; // far beyond what a pipe holds
        std::thread writer([&line, &ends] {
            Text_stream stream(ends[1]);
            for (int i = 0; i < lines; ++i)
                stream << std::string_view(line.constData(), static_cast<std::size_t>(line.size()));
            ::close(ends[1]);
        });
        QByteArray all;
        char bytes[4096];
        ssize_t count = 0;
        while ((count = read(ends[0], bytes, sizeof bytes)) > 0)
            all.append(bytes, static_cast<int>(count));
        writer.join();
        ::close(ends[0]);
        QCOMPARE(all.size(), lines * line.size());
        QCOMPARE(all.count('\n'), lines);
    }

    void reader_that_never_reads_is_left_behind_when_told_to_quit()
    {
        int ends[2];
        QCOMPARE(pipe2(ends, O_NONBLOCK), 0);
        int quit[2];
        QCOMPARE(::pipe(quit), 0);
        Reader_patience::interrupt_on(quit[0]);
        Text_stream stream(ends[1]);
        QCOMPARE(::write(quit[1], "x", 1), ssize_t{1});
        const QByteArray text(200000, 'z');
        stream << std::string_view(text.constData(), static_cast<std::size_t>(text.size())) << "\n";
        Reader_patience::interrupt_on(-1);
        for (const int descriptor : {ends[0], ends[1], quit[0], quit[1]})
            ::close(descriptor);
    }
};

QTEST_APPLESS_MAIN(Console_test)
#include "console.moc"
