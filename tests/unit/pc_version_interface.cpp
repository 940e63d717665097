// The version of the controller's firmware.

#include "PC_version_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"
#include "Version_text.h"

class PC_version : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void is_major_minor_patch()
    {
        auto& version = make<PC_version_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        const Captured_descriptor output(STDOUT_FILENO);
        QVERIFY(offer(version, "16fffffefd"));
        QCOMPARE(text_of(version), QStringLiteral("v253.254.255"));
        QVERIFY(offer(version, "16ff000000ffffff"));
        QCOMPARE(text_of(version), QStringLiteral("v0.0.0"));
        QVERIFY(!offer(version, "16000701"));
        QVERIFY(!offer(version, "1500070102000000"));
        QCOMPARE(text_of(version), QStringLiteral("v0.0.0"));
        QCOMPARE_EMPTY(errors.text()); // refused without a report
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<PC_version>(count, arguments, "<power/>");
}
#include "pc_version_interface.moc"
