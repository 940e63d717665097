// The versions that commands print.

#include "Cmd_version_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"
#include "Version_command.h"
#include "Version_text.h"

class Cmd_version : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private:
    QString command_text(const QString& command)
    {
        return text_of(*new Cmd_version_interface(world_.daemon, command, QStringLiteral("c")));
    }

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void text_is_printed_in_utf_8()
    {
        auto* version = new Cmd_version_interface(
            world_.daemon, QStringLiteral("printf \\303\\244\\342\\202\\254"), QStringLiteral("c"));
        Captured_descriptor output(STDOUT_FILENO);
        output_of(*version, &Version_interface::get);
        QCOMPARE(output.text(), QByteArray("Send \xc3\xa4\xe2\x82\xac\n"));
    }

    void missing_file_publishes_the_error()
    {
        const QString text = command_text(QStringLiteral("cat /nonexistent/SERIAL_NUMBER"));
        QCOMPARE_CONTAINS(text, QLatin1String("cat: "));
        QCOMPARE_CONTAINS(text, QLatin1String("/nonexistent/SERIAL_NUMBER"));
    }

    void command_version_never_changes()
    {
        auto* version =
            new Cmd_version_interface(world_.daemon, QStringLiteral("echo x"), QStringLiteral("c"));
        const Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(!offer(*version, "1600070102000000"));
        QVERIFY(!offer(*version, "1214"));
        QCOMPARE(text_of(*version), QStringLiteral("x\n"));
    }

    void command_started_ahead_runs_once()
    {
        const QString command = QStringLiteral("sh -c \"echo x >> %1; cat %1\"")
                                    .arg(world_.root.path(QStringLiteral("runs")));
        Version_command started(command);
        auto& version = *new Cmd_version_interface(world_.daemon, started, QStringLiteral("c"));
        QCOMPARE(text_of(version), QStringLiteral("x\n"));
        QCOMPARE(command_text(command), QStringLiteral("x\nx\n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Cmd_version>(count, arguments, "<power/>");
}
#include "cmd_version_interface.moc"
