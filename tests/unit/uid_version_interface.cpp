// The controller's unique identifier.

#include "UID_version_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"
#include "Version_text.h"

class UID_version : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void unique_identifier_is_seven_bytes()
    {
        auto& version = make<UID_version_interface>();
        QCOMPARE(text_of(version), QStringLiteral("No PC Comms"));
        Captured_descriptor output(STDOUT_FILENO);
        Captured_descriptor errors(STDERR_FILENO);
        QVERIFY(offer(version, "1a001fa0ff010203"));
        QCOMPARE(output.text(), QByteArray("Got unique ID: 001FA0FF010203\n"));
        QVERIFY(!offer(version, "1a001fa0ff0102"));
        QVERIFY(!offer(version, "1900000000000000"));
        QCOMPARE_EMPTY(errors.text()); // refused without a report
        QCOMPARE(text_of(version), QStringLiteral("001FA0FF010203"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<UID_version>(count, arguments, "<power/>");
}
#include "uid_version_interface.moc"
