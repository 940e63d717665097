#include "Camera_interface.h"

Camera_interface::Camera_interface(DBus_daemon* owner, const QString& relative_path)
    : Interface_base(owner, relative_path, nullptr)
{
    register_object();
}

void Camera_interface::media_changed(const QString& /*path*/)
{
}

void Camera_interface::is_connected(bool& res)
{
    res = false;
}

void Camera_interface::switch_channel(uint /*channel*/)
{
}

void Camera_interface::scan_channels(const QString& /*q_chs*/, uint /*rate*/)
{
}

void Camera_interface::request4(uchar /*b0*/, uchar /*b1*/, uchar /*b2*/, uchar /*b3*/)
{
}

void Camera_interface::request5(uchar /*b0*/, uchar /*b1*/, uchar /*b2*/, uchar /*b3*/,
                                uchar /*b4*/)
{
}

void Camera_interface::request6(uchar /*b0*/, uchar /*b1*/, uchar /*b2*/, uchar /*b3*/,
                                uchar /*b4*/, uchar /*b5*/)
{
}
