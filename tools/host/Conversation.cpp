#include "Conversation.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

namespace {

/// Far more than a frame takes at any speed.
constexpr int longest_write_ms = 5000;

} // namespace

Conversation::Conversation()
{
    connect(&signals_, &Posix_signals::end_asked, this, [this] { is_asked_to_end_ = true; });
    connect(&line_, &Host_line::received, this, [this](const QByteArray& bytes) {
        record({now_us(), Sender::controller, Line_record::Kind::bytes,
                reinterpret_cast<const uchar*>(bytes.constData()), static_cast<int>(bytes.size())});
    });
    connect(&line_, &Host_line::lost, this, [this](const QString& why) {
        error_ = why;
        record({now_us(), Sender::controller, Line_record::Kind::hang_up, nullptr, 0});
    });
}

QString Conversation::open(const QString& path, uint baud)
{
    path_ = path;
    QString error = line_.open(path, baud);
    clock_.start();
    last_look_us_ = 0;
    return error;
}

void Conversation::send(const QByteArray& bytes)
{
    // Noted first: an answer must not come before its request.
    record({now_us(), Sender::host, Line_record::Kind::bytes,
            reinterpret_cast<const uchar*>(bytes.constData()), static_cast<int>(bytes.size())});
    line_.write(bytes);
    if (wait_until([this] { return line_.is_written(); }, longest_write_ms) || is_over())
        return;
    line_.close();
    error_ = path_ + QStringLiteral(": it takes nothing of what is sent");
}

bool Conversation::wait_until(const std::function<bool()>& holds, int ms)
{
    const QDeadlineTimer deadline =
        ms < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(ms, Qt::PreciseTimer);
    QTimer wake;
    wake.setSingleShot(true);
    wake.setTimerType(Qt::PreciseTimer);
    QTimer next_look;
    next_look.setTimerType(Qt::PreciseTimer);
    connect(&next_look, &QTimer::timeout, this, &Conversation::look);
    if (ms >= 0) {
        wake.start(ms);
        next_look.start(look_ms);
        look();
    }
    while (!holds()) {
        if (is_over())
            return false;
        if (deadline.hasExpired()) {
            QCoreApplication::processEvents();
            look();
            return holds();
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void Conversation::look()
{
    const qint64 now = now_us();
    if (!line_.has_input())
        last_look_us_ = now;
}

void Conversation::record(const Line_record& record)
{
    if (recorder_)
        recorder_(record);
    note(record);
}
