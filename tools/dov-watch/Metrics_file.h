#pragma once

#include "Options.h"
#include "Watcher.h"

#include <QJsonObject>
#include <QObject>
#include <QTimer>

/// Keeps a file with metrics of what is watched: replaced whole each interval, and removed at the
/// end, so that nobody takes old values for present ones.
class Metrics_file : public QObject {
    Q_OBJECT
public:
    /// The watcher outlives it.
    Metrics_file(const Watcher& watcher, const Options& options);
    ~Metrics_file() override;

Q_SIGNALS:
    /// The file could not be written, for this reason; told once until it has been written again.
    void failed(const QString& message);

private:
    void write();
    bool replace(const QByteArray& text);
    QJsonObject line() const;

    const Watcher& watcher_;
    QString path_;
    QString tap_;
    QString error_;
    QTimer timer_;
};
