#include "Text_stream.h"

#include "Pieces.h"

#include <QFileInfo>
#include <QTemporaryFile>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// What a thread reads from a descriptor until its end, which it closes.
class Reader {
public:
    explicit Reader(int descriptor)
        : thread_([this, descriptor] {
              char bytes[4096];
              ssize_t count = 0;
              while ((count = read(descriptor, bytes, sizeof bytes)) > 0)
                  all_.append(bytes, static_cast<int>(count));
              ::close(descriptor);
          })
    {
    }

    /// Once nobody has the other end any more.
    QByteArray all()
    {
        thread_.join();
        return all_;
    }

private:
    QByteArray all_;
    std::thread thread_;
};

/// The process's descriptors of the file that `descriptor` is of, but for itself.
QList<int> others_of(int descriptor)
{
    const auto file_of = [](int number) {
        return QFileInfo(QStringLiteral("/proc/self/fd/%1").arg(number)).symLinkTarget();
    };
    QList<int> others;
    for (int number = 0; number < 256; ++number) {
        if (number != descriptor && file_of(number) == file_of(descriptor) &&
            (fcntl(number, F_GETFL) & O_ACCMODE) != O_RDONLY)
            others.append(number);
    }
    return others;
}

/// More than a buffer or a pipe holds, in which no piece is like another.
QByteArray long_text()
{
    QByteArray text;
    for (int i = 0; text.size() < 200000; ++i)
        text += QByteArray::number(i) + ' ';
    return text;
}

std::string_view view_of(const QByteArray& text)
{
    return {text.constData(), static_cast<std::size_t>(text.size())};
}

/// A stream, and memory behind it that nobody writes to.
struct Guarded_stream {
    explicit Guarded_stream(int descriptor) : stream(descriptor) {}
    Text_stream stream;
    std::array<char, 65536> behind{};
};

} // namespace

class Text_stream_test : public QObject {
    Q_OBJECT

    /// A stream that has opened its descriptor anew has one more, which does not block and which no
    /// other program gets; the one it was given is as it was.
    static void check_opened_anew(int given, int flags)
    {
        const QList<int> opened = others_of(given);
        QCOMPARE(opened.size(), 1);
        const int expected = flags | O_NONBLOCK;
        QCOMPARE(fcntl(opened.first(), F_GETFL) & (O_ACCMODE | O_NONBLOCK),
                 expected & (O_ACCMODE | O_NONBLOCK));
        QCOMPARE(fcntl(opened.first(), F_GETFD), FD_CLOEXEC);
        QCOMPARE(fcntl(given, F_GETFL), flags);
        ::close(opened.first());
    }

private Q_SLOTS:
    void text_longer_than_the_buffer_comes_whole()
    {
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        Reader reader(ends[0]);
        Text_stream stream(ends[1]);
        stream << "first, " << view_of(long_text()) << "last" << '\n';
        ::close(ends[1]);
        QCOMPARE(reader.all(), "first, " + long_text() + "last\n");
    }

    /// What does not fit behind it, and nothing is written beyond the buffer.
    void text_behind_a_buffer_that_is_half_full_comes_whole()
    {
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        Reader reader(ends[0]);
        auto guarded = std::make_unique<Guarded_stream>(ends[1]);
        const QByteArray half = long_text().left(20000);
        guarded->stream << view_of(half) << view_of(half);
        guarded->stream.flush();
        ::close(ends[1]);
        QCOMPARE(reader.all(), half + half);
        const auto& behind = guarded->behind;
        QCOMPARE(std::count(behind.begin(), behind.end(), '\0'), std::ptrdiff_t(behind.size()));
    }

    void joined_streams_keep_their_order()
    {
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        Reader reader(ends[0]);
        Text_stream one(ends[1]);
        Text_stream other(-1);
        other.join(one);
        other << "a";
        one << "b";
        other << "c";
        other.flush();
        one << "d";
        ::close(ends[1]); // what has not been flushed is lost
        QCOMPARE(reader.all(), QByteArray("abc"));
    }

    void pipe_is_opened_anew()
    {
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        const int flags = fcntl(ends[1], F_GETFL);
        Text_stream stream(ends[1]);
        stream.open_anew();
        check_opened_anew(ends[1], flags);
        ::close(ends[0]);
        ::close(ends[1]);
    }

    void terminal_is_opened_anew()
    {
        const int master = posix_openpt(O_RDWR | O_NOCTTY);
        QVERIFY(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
        const int given = ::open(ptsname(master), O_RDWR | O_NOCTTY);
        const int flags = fcntl(given, F_GETFL);
        Text_stream stream(given);
        stream.open_anew();
        check_opened_anew(given, flags);
        ::close(given);
        ::close(master);
    }

    void file_is_not_opened_anew()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        Text_stream stream(file.handle());
        stream.open_anew();
        QCOMPARE(others_of(file.handle()), QList<int>());
        stream << "text\n";
        file.seek(0); // where the stream has written from
        QCOMPARE(file.readAll(), QByteArray("text\n"));
    }

    void closed_stream_drops_its_text()
    {
        const int closed = dup(STDERR_FILENO);
        ::close(closed);
        Text_stream stream(closed);
        stream.open_anew();
        stream << "text\n" << view_of(long_text()) << '\n';
    }

    void slow_reader_of_a_pipe_opened_anew_gets_everything()
    {
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        Text_stream stream(ends[1]);
        stream.open_anew();
        const QList<int> opened = others_of(ends[1]);
        ::close(ends[1]);
        Reader reader(ends[0]);
        stream << view_of(long_text()) << '\n';
        for (const int each : opened)
            ::close(each);
        QCOMPARE(reader.all(), long_text() + '\n');
    }

    void one_character_is_formatted()
    {
        const auto found = pieces([](Text_stream& stream) { stream.format("%c", 'x').flush(); });
        QCOMPARE(found, QList<QByteArray>{"x"});
    }

    void line_built_in_pieces_leaves_as_one_write()
    {
        const auto found = pieces([](Text_stream& stream) {
            stream << "Updated val=" << 0.5 << " min=" << 1 << '\n';
            stream << "next " << 7U << "\n";
        });
        QCOMPARE(found, (QList<QByteArray>{"Updated val=0.5 min=1\n", "next 7\n"}));
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
        Reader reader(ends[0]);
        Text_stream stream(ends[1]);
        for (int i = 0; i < lines; ++i)
            stream << view_of(line);
        ::close(ends[1]);
        const QByteArray all = reader.all();
        QCOMPARE(all.size(), lines * line.size());
        QCOMPARE(all.count('\n'), lines);
    }
};

QTEST_GUILESS_MAIN(Text_stream_test)
#include "text_stream.moc"
