#include "Camera_port_interface.h"

class Camera_port : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void stays_closed()
    {
        Camera_port_interface port;
        QCOMPARE(port.packet_length(), 0U);
        QCOMPARE(port.handle(), -1);
        QVERIFY(!port.isOpen());
    }
};

QTEST_GUILESS_MAIN(Camera_port)
#include "camera_port_interface.moc"
