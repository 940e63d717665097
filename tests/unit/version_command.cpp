#include "Version_command.h"

#include <sys/resource.h>

class Version_command_test : public QObject {
    Q_OBJECT

    static QString text_of(const QString& command) { return Version_command(command).text(); }

private Q_SLOTS:
    void commands_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* command, const char* text) {
            QTest::newRow(command) << QString::fromLatin1(command) << QString::fromUtf8(text);
        };
        row("echo 1234", "1234\n");
        row("echo -n 1234", "1234");
        row("true", "");
        row("false", "");
        row("sh -c \"echo out; echo err >&2\"", "err\n");
        row("sh -c \"echo out; exit 3\"", "out\n");
        row("sh -c \"printf 'a\\000b'\"", "a");
        row("sh -c \"printf '\\303\\244'\"", "\xc3\xa4");
        row("sh -c \"echo a; printf '\\000' >&2\"", ""); // standard error wins, up to its NUL
        row("echo \"two words\" 'single'", "two words 'single'\n");
        row("/nonexistent/command", "failed to run cmd\n");
        row("", "failed to run cmd\n");
    }
    void commands()
    {
        QFETCH(QString, command);
        QTEST(text_of(command), "text");
    }

    void large_output_is_taken_whole()
    {
        QCOMPARE(text_of(QStringLiteral("sh -c \"yes | head -c 300000\"")).size(), 300000);
    }

    void output_is_bounded_by_its_bytes_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("print");
        QTest::addColumn<int>("published");
        constexpr int most = 16 * 1024 * 1024;
        const QString all = QStringLiteral("yes | head -c %1");
        const QString in_two =
            QStringLiteral("yes | head -c 9999999; yes | head -c $((%1-9999999))");
        const QString to_errors = QStringLiteral("echo; yes | head -c %1 >&2");
        const QString with_errors = QStringLiteral("echo x >&2; yes | head -c %1");
        const QString not_utf_8 = QStringLiteral("head -c %1 /dev/zero | tr '\\000' '\\377'");
        const int refused = static_cast<int>(qstrlen("failed to run cmd\n"));
        const auto row = [](const char* name, int bytes, const QString& print, int published) {
            QTest::newRow(name) << bytes << print << published;
        };
        row("16 MiB", most, all, most);
        row("16 MiB and a byte", most + 1, all, refused);
        row("16 MiB in two pieces", most, in_two, most);
        row("16 MiB and a byte in two pieces", most + 1, in_two, refused);
        row("20 MiB", 20 * 1024 * 1024, all, refused);
        row("16 MiB on standard error", most, to_errors, most);
        row("16 MiB and a byte on standard error", most + 1, to_errors, refused);
        row("16 MiB that are not published", most, with_errors, 2);
        row("16 MiB and a byte that are not published", most + 1, with_errors, refused);
        row("not UTF-8, three bytes each", most / 3, not_utf_8, most / 3);
        row("not UTF-8, and a byte", most / 3 + 1, not_utf_8, refused);
    }
    void output_is_bounded_by_its_bytes()
    {
        QFETCH(int, bytes);
        QFETCH(QString, print);
        const QString text = text_of(QStringLiteral("sh -c \"%1\"").arg(print.arg(bytes)));
        QTEST(static_cast<int>(text.size()), "published");
    }

    void output_beyond_the_bound_is_not_kept_data()
    {
        QTest::addColumn<QString>("print");
        QTest::newRow("standard output") << QStringLiteral("yes | head -c 600000000");
        QTest::newRow("standard error") << QStringLiteral("yes | head -c 600000000 >&2");
    }
    void output_beyond_the_bound_is_not_kept()
    {
        QFETCH(QString, print);
        rusage before{};
        getrusage(RUSAGE_SELF, &before);
        QCOMPARE(text_of(QStringLiteral("sh -c \"%1\"").arg(print)),
                 QStringLiteral("failed to run cmd\n"));
        rusage after{};
        getrusage(RUSAGE_SELF, &after);
        constexpr long most_grown_kib = 300 * 1024;
        QCOMPARE_LT(after.ru_maxrss - before.ru_maxrss, most_grown_kib);
    }
};

QTEST_GUILESS_MAIN(Version_command_test)
#include "version_command.moc"
