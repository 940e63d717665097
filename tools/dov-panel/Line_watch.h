#pragma once

#include "Line_analysis.h"
#include "Line_memory.h"
#include "Line_statistics.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

/// What is shown of the line: its frames as they pass, and what is counted.
///
/// Thread: the one of its event loop.
class Line_watch : public QObject {
    Q_OBJECT
public:
    /// How many frames wait for the next batch at most.
    static constexpr int most_frames = 2000;

    Line_watch();

    /// Takes a record; its time is in microseconds since 1970 (UTC).
    void take(const Line_record& record);

    /// Whether frames are wanted at all; without that none wait.
    void set_wanted(bool wanted);

    /// The frames since the last call, as the page gets them.
    QJsonArray take_frames();

    /// How many frames have not been among them, since the last call.
    quint64 take_dropped();

    /// As `dov-line stats --json` has them, since the first record.
    QJsonObject counters() const { return counted_.to_json(); }

    Line_memory& memory() { return memory_; }

private:
    void take_events();
    void show(const Line_event& event);
    void show_unanswered(const Pairing::Request& request);
    void add_frame(const QJsonObject& frame);
    qint64 since_1970_ms(qint64 time_us) const;

    Line_analysis shown_{Line_analysis::Telling::at_once};
    /// Counted in order: only so it is known of a request that nobody has answered it.
    Line_analysis in_order_{Line_analysis::Telling::in_order};
    Line_statistics counted_;
    Line_memory memory_;
    QTimer quiet_timer_;
    qint64 origin_us_ = -1; ///< of time 0, since 1970
    qint64 last_us_ = 0;
    bool is_wanted_ = false;
    QJsonArray frames_;
    quint64 dropped_ = 0;
};
