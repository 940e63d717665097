#pragma once

#include "Line_analysis.h"

#include <QByteArray>

#include <functional>

/// What the host and a controller say to each other: its events, as they come, from both sides. The
/// line and the clock are those of whoever implements it.
class Dialogue {
public:
    using Listener = std::function<void(const Line_event&)>;

    virtual ~Dialogue() = default;

    /// Has every event from now on handed to a listener, while it happens.
    void set_listener(Listener listener) { listener_ = std::move(listener); }

    /// Sends bytes, and waits until the line has taken them.
    virtual void send(const QByteArray& bytes) = 0;

    /// Waits until something holds, at most so long; without end for -1. Whether it holds: what
    /// had come by then counts, also when this process had no time to look at it before.
    virtual bool wait_until(const std::function<bool()>& holds, int ms) = 0;

    /// Lets time pass.
    void pass(int ms);

    /// Whether nothing more is to be expected.
    virtual bool is_over() const = 0;

    virtual qint64 now_us() const = 0;

    /// When it was last certain that nothing had come that has not been told. While something is
    /// waited for, at most `look_ms` ago, unless this process, or its machine, stood still.
    virtual qint64 last_look_us() const = 0;

    static constexpr int look_ms = 10;

protected:
    Dialogue() = default;
    Dialogue(const Dialogue&) = delete;
    Dialogue& operator=(const Dialogue&) = delete;

    /// Has what went over the line told.
    void note(const Line_record& record);

private:
    Line_analysis analysis_{Line_analysis::Telling::at_once};
    Listener listener_;
};
