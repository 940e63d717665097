#pragma once

#include "Report.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QVector>

#include <memory>

/// The host's end of a controller's line, with frame code of its own that shares nothing with the
/// controller's.
class Host_end final : public QObject, public report::Witness {
    Q_OBJECT
public:
    ~Host_end() override;

    /// Opens a device, raw. Whether it could.
    bool open(const QString& device);

    /// Takes a descriptor that is open already.
    void take(int descriptor);
    void close();

    /// Sends a message, in hexadecimal, filled up with zeros, in a frame.
    void send(const QByteArray& hex);
    void send_bytes(const QByteArray& bytes);

    /// Every byte that has come.
    const QByteArray& bytes() const { return bytes_; }

    /// The messages in the good frames that have come, in hexadecimal, without zeros at the end.
    QVector<QByteArray> messages() const;

    /// How many of them have an identifier.
    int count(const char* id) const;

    void clear() { bytes_.clear(); }

    /// What has come, and whether the line is there.
    void testify() override;

    /// Whether the controller has hung up.
    bool is_hung_up() const { return hung_up_; }

private:
    void read_some();

    int descriptor_ = -1;
    bool hung_up_ = false;
    std::unique_ptr<QSocketNotifier> notifier_;
    QByteArray bytes_;
};
