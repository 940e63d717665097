#pragma once

#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>

#include <memory>
#include <optional>

#include <termios.h>

/// Shows the status file of a running tap on the terminal, again and again, until q is pressed.
///
/// Thread: the one of its event loop.
class Live_screen : public QObject {
    Q_OBJECT
public:
    explicit Live_screen(const QString& path);
    /// Leaves the terminal as it was.
    ~Live_screen() override;

    /// Shows it for the first time, and begins. Returns an error's text, or nothing.
    QString start();

    /// Shows it as it is now.
    void show();

Q_SIGNALS:
    void end_asked();

private:
    QString read();
    void watch_keys();
    void write(const QByteArray& text) const;

    QString path_;
    QJsonObject status_;
    int unchanged_ = 0; ///< how often in a row it was the same
    bool is_terminal_;
    QTimer timer_;
    std::unique_ptr<QSocketNotifier> keys_;
    std::optional<termios> settings_before_; ///< of the keyboard
};
