#pragma once

#include "Faults.h"

#include <map>
#include <optional>

/// Puts transmissions one behind the other on the line: each at its time or, when the line is
/// still busy with the pieces of another one then, as soon as it is free.
class Schedule {
public:
    void add(const Transmission& transmission);

    /// When the next piece is due, which may be past; none when nothing waits.
    std::optional<qint64> next_time() const;

    /// Takes the next piece if it is due; empty otherwise.
    QByteArray take(qint64 now_ms);

    void clear();

private:
    std::multimap<qint64, Transmission> waiting_; ///< by start, those of the same start in order
    std::optional<Transmission> current_; ///< its first piece has gone; start of the next one
};
