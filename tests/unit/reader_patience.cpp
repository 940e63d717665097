#include "Reader_patience.h"

#include "Text_stream.h"

#include <fcntl.h>
#include <unistd.h>

class Reader_patience_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

QTEST_GUILESS_MAIN(Reader_patience_test)
#include "reader_patience.moc"
