// What all versions share.

#include "Version_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "PC_version_interface.h"
#include "Test_daemon.h"

class Version : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void get_prints_what_it_returns()
    {
        auto& version = make<PC_version_interface>();
        Captured_descriptor output(STDOUT_FILENO);
        QCOMPARE(output_of(version, &Version_interface::get), QStringLiteral("No PC Comms"));
        QVERIFY(offer(version, "1600070102000000"));
        QCOMPARE(output_of(version, &Version_interface::get), QStringLiteral("v2.1.7"));
        QCOMPARE(output.text(), QByteArray("Send No PC Comms\nGot version\nSend v2.1.7\n"));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Version>(count, arguments, "<power/>");
}
#include "version_interface.moc"
