#pragma once

#include "Camera_port_interface.h"
#include "Interface_base.h"

/// The camera switch, at "device/camera": an interface that clients may bind to. No method has an
/// effect and no signal is emitted.
class Camera_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.camera")
public:
    Camera_interface(DBus_daemon* owner, const QString& relative_path);

public Q_SLOTS:
    void media_changed(const QString& path);
    /// Always false.
    void is_connected(bool& res);
    void switch_channel(uint channel);
    void scan_channels(const QString& q_chs, uint rate);
    void request4(uchar b0, uchar b1, uchar b2, uchar b3);
    void request5(uchar b0, uchar b1, uchar b2, uchar b3, uchar b4);
    void request6(uchar b0, uchar b1, uchar b2, uchar b3, uchar b4, uchar b5);

Q_SIGNALS:
    void changed(bool ret);
    void connection(QString path, bool connected);

private:
    QString media_path_; ///< of the medium reported last; none is
    Camera_port_interface port_;
};
