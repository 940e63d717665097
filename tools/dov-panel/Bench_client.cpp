#include "Bench_client.h"

#include "Local_listener.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace {

constexpr int again_ms = 500;

/// The state has a few KiB, and configuration bytes as many as anybody sets.
constexpr int most_line = 1 << 20;

} // namespace

Bench_client::Bench_client(const QString& path) : path_(path), lines_(most_line)
{
    connect(&state_timer_, &QTimer::timeout, this, &Bench_client::ask_for_state);
    connect(&again_timer_, &QTimer::timeout, this, &Bench_client::connect_again);
    again_timer_.start(again_ms);
    connect_again();
}

void Bench_client::connect_again()
{
    const int descriptor = Local_listener::connect_to(path_, error_);
    if (descriptor < 0)
        return;
    again_timer_.stop();
    error_.clear();
    lines_ = Line_splitter(most_line);
    connection_ = std::make_unique<Local_connection>(descriptor);
    connect(connection_.get(), &Local_connection::received, this, &Bench_client::take);
    // Queued: the connection cannot be deleted from within its own news.
    connect(connection_.get(), &Local_connection::ended, this, &Bench_client::lose,
            Qt::QueuedConnection);
    state_timer_.start(state_ms);
    ask_for_state();
    Q_EMIT presence_changed();
}

void Bench_client::lose()
{
    connection_.reset();
    state_timer_.stop();
    take_state(QJsonValue());
    asks_for_state_ = false;
    error_ = path_ + QStringLiteral(": the controller has ended the connection");
    again_timer_.start(again_ms);
    answer_done();
    while (!waiting_.empty())
        answer_next(QStringLiteral("the controller has gone"));
    Q_EMIT presence_changed();
}

void Bench_client::command(const QByteArray& line, const Answer& answer)
{
    if (!is_here())
        answer(QStringLiteral("the controller is not here"));
    else if (waiting_.size() >= most_waiting)
        answer(QStringLiteral("the controller does not follow"));
    else
        send(line, [this, answer](const QString& error) {
            if (!error.isEmpty()) {
                answer(error);
                return;
            }
            done_.push_back(answer);
            // One that is already asked for was so after this command: answers come in order.
            ask_for_state();
        });
}

void Bench_client::ask_for_state()
{
    if (!is_here() || std::exchange(asks_for_state_, true))
        return;
    send("state json", [this](const QString&) {
        asks_for_state_ = false;
        answer_done();
    });
}

void Bench_client::send(const QByteArray& line, const Answer& answer)
{
    waiting_.push_back(answer);
    connection_->write(line + '\n');
}

void Bench_client::take(const QByteArray& bytes)
{
    lines_.add(bytes);
    while (const auto line = lines_.next())
        take_line(*line);
    if (!lines_.is_too_long())
        return;
    connection_->close();
    QMetaObject::invokeMethod(this, &Bench_client::lose, Qt::QueuedConnection);
}

void Bench_client::take_line(const QByteArray& line)
{
    const QByteArray error = "error: ";
    if (line == "ok") {
        answer_next({});
    } else if (line.startsWith(error)) {
        answer_next(QString::fromUtf8(line.mid(static_cast<int>(error.size()))));
    } else {
        const QJsonDocument json = QJsonDocument::fromJson(line);
        if (json.isObject())
            take_state(json.object());
    }
}

void Bench_client::take_state(const QJsonValue& state)
{
    if (std::exchange(state_, state) != state)
        Q_EMIT state_changed();
}

void Bench_client::answer_done()
{
    for (const Answer& answer : std::exchange(done_, {}))
        answer({});
}

void Bench_client::answer_next(const QString& error)
{
    if (waiting_.empty())
        return;
    const Answer answer = std::move(waiting_.front());
    waiting_.pop_front();
    answer(error);
}
