#pragma once

#include "Watch_model.h"

#include <QByteArray>

/// Writes one line a change to a descriptor, at once and whole.
class Line_output {
public:
    /// Only changes of paths that contain the filter, whatever their case.
    Line_output(int descriptor, bool json, const QString& filter);

    /// False when nobody reads any more.
    bool write(const Change& change) const;

private:
    int descriptor_;
    bool json_;
    QString filter_;
};
