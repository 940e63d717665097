#pragma once

#include "Bench_controller.h"
#include "Expectation.h"
#include "Script.h"
#include "Trace.h"

#include <QObject>
#include <QTimer>

#include <vector>

/// Does something at each of a row of times, counted from when it starts.
class Player : public QObject {
    Q_OBJECT
public:
    explicit Player(Bench_controller& bench);

    void start();

Q_SIGNALS:
    /// The last thing has been done.
    void ended();

protected:
    /// When the next thing is due, in milliseconds since the start, or -1 after the last one.
    virtual qint64 next_time_ms() const = 0;

    /// Does it.
    virtual void do_next() = 0;

    /// Whether it can be done now; if not, resume() is to be called when it can.
    virtual bool is_ready() const { return true; }

    /// Ends without having come to the end.
    void stop() { playing_ = false; }

    /// Since the start.
    qint64 now_ms() const { return bench_.now_ms() - start_ms_; }

    void resume();

    /// Looks again at what is due, and when.
    void look_again();

    Bench_controller& bench_;

private:
    void go_on();

    QTimer timer_;
    qint64 start_ms_ = 0;
    bool playing_ = false;
};

/// Plays a script, once or again and again.
class Script_player : public Player {
    Q_OBJECT
public:
    Script_player(Bench_controller& bench, Script script, bool loop);

protected:
    qint64 next_time_ms() const override;
    void do_next() override;

private:
    Script script_;
    bool loop_;
    int next_ = 0;
    qint64 round_ms_ = 0; ///< when the present round began
};

/// Plays the controller's side of a recording. A host that does not keep up is waited for.
class Trace_player : public Player {
    Q_OBJECT
public:
    /// `speed`: how many times as fast; 0: without any pauses. `from_host`: time counts from the
    /// host's first bytes in the recording, not from its beginning.
    Trace_player(Bench_controller& bench, const Trace& trace, double speed, bool from_host);

protected:
    qint64 next_time_ms() const override;
    void do_next() override;
    bool is_ready() const override;

private:
    QVector<Trace_entry> entries_;
    qint64 origin_us_ = 0;
    double speed_;
    int next_ = 0;
};

/// Plays the controller's side of a recording to a host that has to say again what it says there.
/// Each of the host's lines is waited for, and times count from when it came.
class Expecting_player : public Player {
    Q_OBJECT
public:
    /// `speed`, `from_host`: as above. `file`: what the recording is called.
    Expecting_player(Bench_controller& bench, const Trace& trace, const Expectation& expectation,
                     const QString& file, double speed, bool from_host);

Q_SIGNALS:
    /// The host has said something else, or nothing.
    void differed(const QString& text);

protected:
    qint64 next_time_ms() const override;
    void do_next() override;
    bool is_ready() const override;

private:
    /// A line of the controller's, or an item of the host's.
    struct Step {
        qint64 time_us;
        bool from_controller;
        int index;
    };

    bool has_ended() const { return next_ == static_cast<int>(steps_.size()); }
    const Expectation::Item* awaited() const;
    void hear(const Trace_entry& entry);
    void take_heard();
    void differ(const Expectation::Item& item, const QByteArray& came);

    QVector<Trace_entry> lines_; ///< the controller's
    Expectation expectation_;
    QString file_;
    double speed_;
    std::vector<Step> steps_;
    int next_ = 0;
    qint64 anchor_us_ = 0;      ///< a time of the recording
    qint64 anchor_ms_ = 0;      ///< and when it was
    QVector<QByteArray> heard_; ///< what has come and waits for its step
};
