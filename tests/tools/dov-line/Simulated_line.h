#pragma once

#include "Dialogue.h"
#include "Flawed_controller.h"

/// The host's end of a line whose other end is a controller in the same process, on a clock that
/// nothing but waiting moves: what takes no time on this clock takes none, however long it is.
class Simulated_line final : public Dialogue {
public:
    explicit Simulated_line(Flawed_controller::Flaw flaw) : controller_(flaw) {}

    /// The host stands still for a time, once; the controller and the line do not.
    void stand_still(qint64 from_ms, qint64 for_ms);

    /// The host stands still again and again, at the beginning of each period.
    void stand_still_in_each(qint64 period_ms, qint64 for_ms);

    void send(const QByteArray& bytes) override;
    bool wait_until(const std::function<bool()>& holds, int ms) override;
    bool is_over() const override { return false; }
    qint64 now_us() const override { return now_ms_ * 1000; }
    qint64 last_look_us() const override { return last_look_ms_ * 1000; }

private:
    qint64 awake_from(qint64 time_ms) const;
    void look();
    void take();

    Flawed_controller controller_;
    qint64 now_ms_ = 0;
    qint64 last_look_ms_ = 0;
    qint64 from_ms_ = 0;
    qint64 for_ms_ = 0;
    qint64 period_ms_ = 0; ///< 0: once
};
