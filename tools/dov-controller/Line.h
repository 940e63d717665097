#pragma once

#include "Device_link.h"
#include "Posix_serial_port.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>

/// The controller's end of the line: a pseudo terminal of its own, whose other end the host opens,
/// or a given serial device. Raw, and never blocking.
///
/// Bytes that the host does not read are kept up to a limit and then lost, as on a wire.
class Line : public QObject, private Posix_serial_port {
    Q_OBJECT
public:
    ~Line() override;

    /// Makes a pseudo terminal and, if `link` is not empty, a symbolic link of that name to the
    /// host's end, in the place of one that may be there. Returns an error's text, or nothing.
    QString open_pty(const QString& link);

    /// Opens a serial device at a speed. Returns an error's text, or nothing.
    QString open_device(const QString& path, int baud);

    /// Hangs up; the link and what was not written yet are gone.
    void close();

    bool is_open() const { return port_ >= 0; }

    /// The end that the host opens, or the given device.
    const QString& device() const { return device_; }

    /// Whether all is written and, on a pseudo terminal, taken by the host.
    bool is_drained() const;

    /// Whether all is written.
    bool is_written() const { return pending_.isEmpty(); }

    /// Bytes lost since the line was made.
    qint64 lost_bytes() const { return lost_bytes_; }

    void write(const QByteArray& bytes);

Q_SIGNALS:
    void received(const QByteArray& bytes);
    /// What had to wait is written.
    void written();
    /// The device is gone; the line is closed.
    void lost();

private:
    int handle() override { return port_; }
    void watch();
    void read_all();
    void write_pending();

    int port_ = -1; ///< the end with the terminal settings: the host's, or the device
    int own_ = -1;  ///< the end read and written here: the pseudo terminal's other one, or port_
    QString device_;
    Device_link link_;
    QByteArray pending_;
    qint64 lost_bytes_ = 0;
    std::unique_ptr<QSocketNotifier> readable_;
    std::unique_ptr<QSocketNotifier> writable_;
};
