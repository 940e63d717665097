// The camera switch, which is none.

#include "Camera_interface.h"

#include "Captured_console.h"
#include "Objects.h"
#include "Test_daemon.h"

#include <QSignalSpy>

class Camera : public Daemon_test {
    Q_OBJECT
public:
    using Daemon_test::Daemon_test;

private Q_SLOTS:
    void init() { world_.clear(); }
    void cleanupTestCase() { world_.daemon->handle_quit(); }

    void takes_every_call_and_does_nothing()
    {
        auto* camera = new Camera_interface(world_.daemon, QStringLiteral("c"));
        QSignalSpy changed(camera, &Camera_interface::changed);
        QSignalSpy connection(camera, &Camera_interface::connection);
        Captured_descriptor output(STDOUT_FILENO);
        camera->media_changed(QStringLiteral("/media/usb0"));
        camera->switch_channel(4294967295U);
        camera->scan_channels(QStringLiteral("1,2"), 5);
        camera->request4(1, 2, 3, 4);
        camera->request5(1, 2, 3, 4, 5);
        camera->request6(1, 2, 3, 4, 5, 6);
        QVERIFY(!output_of(*camera, &Camera_interface::is_connected, true));
        QCOMPARE_EMPTY(output.text());
        QCOMPARE_EMPTY(world_.link->sent);
        QCOMPARE(changed.count() + connection.count(), 0);
    }
};

int main(int count, char** arguments)
{
    return run_with_daemon<Camera>(count, arguments, "<power/>");
}
#include "camera_interface.moc"
