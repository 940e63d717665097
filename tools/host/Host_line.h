#pragma once

#include "Posix_serial_port.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>

/// The host's end of the line: a serial device, raw and set as the daemon sets it, never blocking.
/// The device's own settings come back at the end.
///
/// Thread: the one of its event loop.
class Host_line : public QObject, private Posix_serial_port {
    Q_OBJECT
public:
    ~Host_line() override;

    /// Opens a device at the first known speed that is not below `baud`. Returns an error's text,
    /// which names the device, or nothing: there is no such device, it is no terminal, another
    /// process has it.
    QString open(const QString& path, uint baud);
    void close();

    bool is_open() const { return port_ >= 0; }

    /// Sends bytes, behind those that still wait.
    void write(const QByteArray& bytes);

    /// Whether something has come that has not been received yet.
    bool has_input() const;

    /// Whether the device has taken everything.
    bool is_written() const { return pending_.isEmpty(); }

Q_SIGNALS:
    void received(const QByteArray& bytes);
    /// The device is gone, and the line closed; the text names the device.
    void lost(const QString& why);

private:
    int handle() override { return port_; }
    QString configure(uint baud);
    void read_some();
    void write_pending();
    void lose(const QString& why);

    QString path_;
    int port_ = -1;
    QByteArray pending_;
    std::unique_ptr<QSocketNotifier> readable_;
    std::unique_ptr<QSocketNotifier> writable_;
};
