// The OEM code of the controller.

#include "OEMprofile_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

class OEM_code : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void oem_code_is_requested_and_reported()
    {
        auto& profile = make<OEMprofile_interface>();
        Captured_descriptor errors(STDERR_FILENO);
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{255});
        profile.set_code(3);
        profile.set_code(255);
        QCOMPARE(world_.link->sent, (Payloads{"3d03000000000000", "3dff000000000000"}));
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{255});
        QVERIFY(offer(profile, "3e07000000000000"));
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{7});
        QVERIFY(!offer(profile, "3d08000000000000"));
        QVERIFY(!offer(profile, "3e"));
        QCOMPARE(errors.text(), QByteArray("Unhandled id=61 len=8\nUnhandled id=62 len=1\n"));
        QCOMPARE(output_of(profile, &OEMprofile_interface::get_code), uchar{7});
        QCOMPARE(world_.lines(), (QStringList{QStringLiteral("Requested OEM code 3"),
                                              QStringLiteral("Requested OEM code 255"),
                                              QStringLiteral("OEM code was set to 7")}));
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<OEM_code>(count, arguments, "<power/>");
}
#include "oemprofile_interface.moc"
