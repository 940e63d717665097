#include "Reader_patience.h"

#include "Text_stream.h"

#include <chrono>
#include <future>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

class Reader_patience_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Nothing has been said of a descriptor, and what waits on standard input means nothing.
    void waits_for_a_late_reader()
    {
        constexpr std::chrono::seconds late{1}; // than anything is waited for at the end
        int input[2];
        QCOMPARE(::pipe(input), 0);
        QCOMPARE(::write(input[1], "x", 1), ssize_t{1});
        QCOMPARE(dup2(input[0], STDIN_FILENO), STDIN_FILENO);
        int ends[2];
        QCOMPARE(pipe2(ends, O_NONBLOCK), 0);
        const QByteArray block(fcntl(ends[1], F_GETPIPE_SZ), 'z');
        const auto size = static_cast<std::size_t>(block.size());
        QCOMPARE(::write(ends[1], block.constData(), size), ssize_t{block.size()});
        std::promise<void> given_up;
        std::thread reader([&] {
            (void)given_up.get_future().wait_for(late);
            QByteArray taken(block.size(), '\0');
            (void)!::read(ends[0], taken.data(), size);
        });
        const bool can_be_written = Reader_patience::wait_for(ends[1]);
        given_up.set_value();
        reader.join();
        QVERIFY(can_be_written);
        for (const int descriptor : {ends[0], ends[1], input[0], input[1]})
            ::close(descriptor);
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

QTEST_GUILESS_MAIN(Reader_patience_test)
#include "reader_patience.moc"
