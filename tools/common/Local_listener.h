#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>

/// A local stream socket at a path that others connect to, for as long as this has it.
///
/// Thread: the one of its event loop.
class Local_listener : public QObject {
    Q_OBJECT
public:
    Local_listener() = default;
    /// Closes it and removes its path.
    ~Local_listener() override;

    /// Listens at a path, in the place of a socket that may be there; what is no socket is left
    /// alone. Returns an error's text, or nothing.
    QString open(const QString& path);

    /// Connects to a path without waiting. A descriptor that does not block, or -1 and an error's
    /// text.
    static int connect_to(const QString& path, QString& error);

Q_SIGNALS:
    /// Somebody has connected; the descriptor, which blocks, is whoever's who hears this.
    void connected(int descriptor);

private:
    void take();

    QString path_;
    int descriptor_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};
