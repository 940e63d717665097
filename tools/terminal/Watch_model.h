#pragma once

#include "History.h"
#include "Object_catalogue.h"

#include <QHash>
#include <QVariant>

#include <deque>
#include <optional>
#include <vector>

/// One value of one object, as it is known.
struct Watched_value {
    QVariant value;           ///< invalid while it is not known
    qint64 changed_ms = 0;    ///< when it last changed, or was first known
    bool has_changed = false; ///< whether it has changed since it was first known
    bool fresh = false;       ///< learned since the service last appeared
    bool heard = false;       ///< its signal has come since it was last due
};

/// One signal of one object, as it has been heard.
struct Heard_signal {
    quint64 count = 0;  ///< since the watcher listens
    QVariant arguments; ///< of the last one; a list unless it is a single one
    qint64 heard_ms = 0;
};

/// One object, with all that is known of it.
struct Watched_object {
    Catalogue_object entry;
    std::vector<Watched_value> values; ///< as many as its kind has
    std::vector<Heard_signal> heard;   ///< as many as its kind has signals
    History history;                   ///< of its first value, where its kind has a sparkline
    quint64 changes = 0;               ///< changes and events seen
    QString last_event;                ///< name and arguments; empty for none yet
    qint64 event_ms = 0;
};

/// Whether it says anything: numbers that nobody has measured do not.
bool is_known(const QVariant& value);

/// Something that has happened: a value that has changed, or an event.
struct Change {
    QString path;   ///< whole
    QString member; ///< the signal that said so, or the method that was read
    QVariant value;
};

/// A value to be read.
struct Value_place {
    int object;
    int value;
};

/// The service and its controller as they look from the bus.
struct Link_health {
    QString owner;       ///< unique name of the service; empty while it is gone
    qint64 since_ms = 0; ///< since when it is there, or gone
    quint64 signals_seen = 0;
    std::optional<qint64> last_signal_ms;
    /// Changes in the last ten seconds, a second, of the input that changed most often among those
    /// that the controller's digest carries. The digests themselves do not show on the bus: there
    /// are at least so many.
    double digest_rate = 0.0;
    int versions_known = 0; ///< of the texts that the controller tells
    int versions = 0;
};

/// All that is known of the service. Pure: it is told what arrives, and when; times are
/// milliseconds of any steady clock.
class Watch_model {
public:
    Watch_model();

    const std::vector<Watched_object>& objects() const { return objects_; }

    /// The object at a whole path; negative for none.
    int find(const QString& path) const { return index_.value(path, -1); }

    /// The display's backlight, whose brightness the keys set.
    int backlight() const { return backlight_; }

    /// The service is owned by this unique name; empty when it is gone.
    void set_owner(const QString& owner, qint64 now_ms);

    /// A getter's answer. The change, if it is one.
    std::optional<Change> take_reading(const Value_place& place, const QVariant& value,
                                       qint64 now_ms);

    /// A signal. The change, if it is one; events always are.
    std::optional<Change> take_signal(const QString& path, const QString& interface,
                                      const QString& member, const QVariantList& arguments,
                                      qint64 now_ms);

    enum class Due { all, unknown };

    /// What is to be read now, called once an interval: what the service has not told since it
    /// appeared, and, of all, what its Reading makes due.
    std::vector<Value_place> take_due(Due due_values);

    /// Adds the present numbers to the last minute; called every History::sample_ms.
    void sample();

    Link_health health(qint64 now_ms) const;

private:
    std::optional<Change> set_value(int object, int value, const QVariant& to,
                                    const QString& member, qint64 now_ms);

    std::vector<Watched_object> objects_;
    QHash<QString, int> index_;
    int backlight_ = -1;
    QString owner_;
    qint64 owner_ms_ = 0;
    quint64 signals_ = 0;
    std::optional<qint64> last_signal_ms_;
    /// Changes of the inputs in the digest, in the last ten seconds: object and time.
    std::deque<std::pair<int, qint64>> digest_changes_;
};
