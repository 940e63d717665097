#include "Metrics_file.h"

#include "Metrics.h"

#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

#include <utility>

namespace {

constexpr int usual_interval_ms = 1000;

// A collector runs as another user.
constexpr auto all_may_read =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;

} // namespace

Metrics_file::Metrics_file(const Watcher& watcher, const Options& options)
    : watcher_(watcher), path_(options.metrics), tap_(options.tap)
{
    connect(&timer_, &QTimer::timeout, this, &Metrics_file::write);
    timer_.start(options.interval_ms > 0 ? options.interval_ms : usual_interval_ms);
}

Metrics_file::~Metrics_file()
{
    QFile::remove(path_);
}

void Metrics_file::write()
{
    const QString before = std::exchange(error_, QString());
    if (!replace(metrics_text(watcher_.model(), line(), watcher_.now_ms())) && error_ != before)
        Q_EMIT failed(path_ + QStringLiteral(": ") + error_);
}

bool Metrics_file::replace(const QByteArray& text)
{
    QSaveFile file(path_);
    if (file.open(QIODevice::WriteOnly) && file.setPermissions(all_may_read) &&
        file.write(text) == text.size() && file.commit())
        return true;
    error_ = file.errorString();
    return false;
}

/// What the tap has counted; nothing while there is none.
QJsonObject Metrics_file::line() const
{
    QFile file(tap_);
    if (tap_.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(file.readAll()).object();
}
