// Dims the display and tells of the media that come and go.
//     client BRIGHTNESS
#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

#include <dov-dbus/device_dimmable_proxy.h>
#include <dov-dbus/media_proxy.h>
#include <dov-dbus/version_proxy.h>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const double wanted = QCoreApplication::arguments().value(1).toDouble();
    const QString service = QStringLiteral("com.quorin.system");
    const QDBusConnection bus = QDBusConnection::systemBus();
    QTextStream out(stdout);

    Version_proxy serial_number(service, "/com/quorin/system/version/serial_number", bus);
    const QDBusReply<QString> number = serial_number.get();
    if (!number.isValid()) {
        QTextStream(stderr) << number.error().message() << '\n';
        return 1;
    }
    out << "terminal " << number.value().trimmed() << '\n';

    Device_dimmable_proxy backlight(service, "/com/quorin/system/device/display/backlight", bus);
    const QDBusReply<void> dimmed = backlight.set_brightness(wanted);
    if (!dimmed.isValid()) {
        QTextStream(stderr) << dimmed.error().message() << '\n';
        return 1;
    }
    const QDBusReply<double> brightness = backlight.get_brightness();
    out << "brightness " << brightness.value() << '\n';

    Media_proxy media(service, "/com/quorin/system/media", bus);
    QObject::connect(&media, &Media_proxy::connection, [&out](const QString& path, bool connected) {
        out << path << (connected ? " has come" : " has gone") << '\n';
        out.flush();
    });
    out << "watching the media\n";
    out.flush();
    return QCoreApplication::exec();
}
