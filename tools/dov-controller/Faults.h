#pragma once

#include "Message.h"

#include <QByteArray>
#include <QPair>
#include <QVector>

#include <optional>
#include <random>

/// Bytes on their way to the host: pieces that follow each other with a gap, with nothing of
/// another transmission between them.
struct Transmission {
    qint64 start_ms;
    QVector<QByteArray> pieces;
    qint64 gap_ms = 0;
};

/// What is wrong with the controller's end of the line, and what that makes of its messages.
class Faults {
public:
    enum class Origin { answer, report };

    /// What is wrong.
    struct Settings {
        bool silent = false;
        qint64 silent_until_ms = 0;
        qint64 late_ms = 0;
        int corrupt_next = 0; ///< frames
        double corrupt_percent = 0;
        std::optional<QPair<uchar, uchar>> addresses; ///< source and destination
        int split_size = 0;                           ///< 0: not at all
        qint64 split_gap_ms = 0;
        bool doubled = false;
    };

    const Settings& settings() const { return settings_; }

    /// Nothing at all is said; until a time, or until it is switched off.
    void set_silence(bool silent);
    void set_silence_until(qint64 time_ms);
    bool is_silent(qint64 now_ms) const
    {
        return settings_.silent || now_ms < settings_.silent_until_ms;
    }

    /// Answers, and only they, come so much later.
    void set_late(qint64 late_ms) { settings_.late_ms = late_ms; }

    /// Wrong checksums: in the next frames, or in so many of a hundred. 0 ends it.
    void set_corrupt_next(int frames) { settings_.corrupt_next = frames; }
    void set_corrupt_percent(double percent) { settings_.corrupt_percent = percent; }

    /// Source and destination address of every frame; none for the right ones.
    void set_addresses(std::optional<QPair<uchar, uchar>> addresses)
    {
        settings_.addresses = addresses;
    }

    /// Every frame goes out in pieces of `size` bytes, `gap_ms` apart. 0 ends it.
    void set_split(int size, qint64 gap_ms);

    /// Every answer is given twice.
    void set_double(bool doubled) { settings_.doubled = doubled; }

    /// What corruption and garbage are drawn from; the same for the same seed.
    void set_seed(quint32 seed) { random_.seed(seed); }

    /// Ends all faults.
    void clear();

    /// What goes out for a message that is due now.
    QVector<Transmission> shape(const Message& message, Origin origin, qint64 now_ms);

    /// So many bytes of noise.
    QByteArray garbage(int count);

private:
    bool draws_corruption();

    std::mt19937 random_; // NOLINT(cert-msc51-cpp): the same faults on each run
    Settings settings_;
};
