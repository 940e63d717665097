#pragma once

#include "Interface_base.h"

/// What volume_changed() says of a volume: truncated toward zero and cut to 8 bits; 0 for what no
/// 64-bit integer holds.
uchar reported_volume(double volume);

/// The buzzer's settings, at "device/buzzer", for the application that sounds it.
///
/// Starts with volume 0.0, which it reports, and the sound file "/etc/buzzer.wav". When it goes it
/// removes the application's marker of a sounding buzzer.
class Buzzer_interface : public Interface_base {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorin.system.device.buzzer")
public:
    Buzzer_interface(DBus_daemon* owner, const QString& relative_path);
    ~Buzzer_interface() override;

public Q_SLOTS:
    void set_volume(double val);
    void get_volume(double& val);
    void get_buzzer_file(QString& res);
    /// Reports volume 0, then the volume, so that listeners load the file anew.
    void set_buzzer_file(const QString& fname);

Q_SIGNALS:
    void volume_changed(uchar val);

private:
    double volume_ = 0.0;
    QString file_name_;
};
