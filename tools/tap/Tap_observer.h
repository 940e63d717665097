#pragma once

#include "Event_format.h"
#include "Feed_server.h"
#include "Incident_keeper.h"
#include "Line_analysis.h"
#include "Line_clock.h"
#include "Line_statistics.h"
#include "Line_tap.h"
#include "Record_buffer.h"
#include "Recording_writer.h"
#include "Text_output.h"

#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <list>
#include <optional>

/// Looks at what passes a tap, behind it and out of its way: prints, records, counts and keeps.
///
/// Thread: the one of its event loop.
class Tap_observer : public QObject {
public:
    /// What is to be done; an empty path does without.
    struct Order {
        QString device;
        QString link;
        QString record;
        QString pcapng; ///< "-" is standard output
        Recording_file::Rotation rotation;
        QString socket;
        QString status;
        QString keep;               ///< what the names of kept files begin with
        std::size_t ring_bytes = 0; ///< 0: nothing is kept
        int kept_files = 10;
        bool prints = true;
        bool json = false;
        Time_style style = Time_style::relative;
        std::function<void(const QString&)> complain; ///< called from any thread
    };

    /// All have to outlive this.
    Tap_observer(const Line_clock& clock, const Line_tap& tap, Record_buffer& seen);
    ~Tap_observer() override;

    /// Begins the files and the socket. Returns an error's text, or nothing.
    QString start(const Order& order);

    /// Keeps what led to this moment.
    void keep();

    /// Takes what has passed to the end, writes the last status and ends the files. Whether all
    /// could be written.
    bool end();

private:
    Recording_writer::Order recording(const QString& path, Recording_writer::Format format) const;
    std::function<qint64()> wall_clock() const;
    QString open_recordings();
    void take();
    void take_events();
    void take_event(const Line_event& event);
    QJsonObject status() const;
    void write_status();

    const Line_clock& clock_;
    const Line_tap& tap_;
    Record_buffer& seen_;
    Order order_;
    Record_batch batch_;
    std::list<Recording_writer> recordings_;
    Feed_server feed_;
    std::optional<Incident_keeper> keeper_;
    std::optional<Text_output> output_;
    Event_format format_;
    Line_analysis analysis_{Line_analysis::Telling::in_order};
    Line_statistics counted_;
    QSocketNotifier notifier_;
    QTimer quiet_timer_;
    QTimer status_timer_;
    bool status_fails_ = false;
};
