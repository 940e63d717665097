#include "Text_stream.h"

#include "Pieces.h"

#include <thread>

#include <unistd.h>

class Text_stream_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
};

QTEST_GUILESS_MAIN(Text_stream_test)
#include "text_stream.moc"
