#pragma once

#include "Line_splitter.h"
#include "Local_connection.h"

#include <QByteArray>
#include <QJsonValue>
#include <QObject>
#include <QString>
#include <QTimer>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

/// The place of a running dov-controller's socket: sends it commands, and asks for its state again
/// and again. It may come and go.
///
/// Thread: the one of its event loop.
class Bench_client : public QObject {
    Q_OBJECT
public:
    /// `error`: empty when the command has been done.
    using Answer = std::function<void(const QString& error)>;

    /// How often its state is asked for, at most.
    static constexpr int state_ms = 100;
    /// How many commands may wait for their answers.
    static constexpr std::size_t most_waiting = 256;

    explicit Bench_client(const QString& path);

    bool is_here() const { return connection_ != nullptr; }

    /// Why it is not here.
    const QString& error() const { return error_; }

    /// The state as last told, an object; null while it is not here.
    const QJsonValue& state() const { return state_; }

    /// Sends a command, one line. The answer comes later, also when the controller goes; that it
    /// has been done is told when state() has what has come of it.
    void command(const QByteArray& line, const Answer& answer);

Q_SIGNALS:
    /// It has come, or gone.
    void presence_changed();
    /// To null, too.
    void state_changed();

private:
    void connect_again();
    void lose();
    void ask_for_state();
    void send(const QByteArray& line, const Answer& answer);
    void take(const QByteArray& bytes);
    void take_line(const QByteArray& line);
    void take_state(const QJsonValue& state);
    void answer_done();
    void answer_next(const QString& error);

    QString path_;
    QString error_;
    std::unique_ptr<Local_connection> connection_;
    Line_splitter lines_;
    std::deque<Answer> waiting_; ///< for the answers of lines, oldest first
    std::vector<Answer> done_;   ///< of commands that have been done, for the state
    bool asks_for_state_ = false;
    QJsonValue state_;
    QTimer state_timer_;
    QTimer again_timer_;
};
