#include "Console_batch.h"

#include "Captured_console.h"
#include "Pieces.h"

class Console_batch_test : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
            QCOMPARE_EMPTY(left);
        }
        QVERIFY(!Console_batch::is_open());
        QCOMPARE(left, (QList<QByteArray>{"first\n", "half a line"}));
        Console::flush();
        QCOMPARE(left.size(), 2);
    }
};

QTEST_GUILESS_MAIN(Console_batch_test)
#include "console_batch.moc"
