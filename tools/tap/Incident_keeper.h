#pragma once

#include "Line_event.h"
#include "Record_ring.h"
#include "Recording_writer.h"

#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <list>
#include <optional>

/// Keeps what led to something worth to be looked at: the newest records, as a recording of their
/// own.
///
/// Its files are PATH-TIME-REASON.txt, with the time in UTC, each a millisecond later than the one
/// before at least: their names are in the order in which they were kept. There is one a minute at
/// most for each reason, so that what goes on and on does not push everything else out, except for
/// those that are asked for; and of all a number: the oldest ones are removed.
class Incident_keeper {
public:
    /// What makes it keep.
    enum class Reason : uchar { checksum, unanswered, unknown, hang_up, asked };

    struct Order {
        QString path;                                 ///< what the names begin with
        std::size_t ring_bytes = 0;                   ///< how much each file goes back
        int files = 10;                               ///< at most
        std::function<qint64()> wall_clock_us;        ///< at time 0; since 1970
        std::function<void(const QString&)> complain; ///< called from any thread
    };

    explicit Incident_keeper(const Order& order);

    /// Why an event is worth to be kept; none for most.
    static std::optional<Reason> reason_of(const Line_event& event);

    /// Remembers a record.
    void add(const Line_record& record) { ring_.add(record); }

    /// Keeps what it remembers.
    void keep(Reason reason, qint64 now_us);

    /// How many files have been begun.
    quint64 kept() const { return kept_; }

    /// How often there was a reason.
    quint64 incidents() const { return incidents_; }

private:
    QString name_of(Reason reason, qint64 now_us);
    void remove_oldest() const;

    Order order_;
    Record_ring ring_;
    std::list<Recording_writer> writers_;          ///< those that are not done
    std::array<std::optional<qint64>, 5> last_us_; ///< by Reason
    qint64 last_name_ms_ = 0;                      ///< since 1970
    quint64 kept_ = 0;
    quint64 incidents_ = 0;
};
