#pragma once

#include "Event_filter.h"
#include "Event_format.h"
#include "Verb.h"

class Output;

/// Shows what is in recordings of the line.
class Read_verb : public Verb {
public:
    Read_verb();

    /// The arguments are the recordings.
    int run(const QStringList& arguments) override;

private:
    QString take_sender(const QString& text);
    bool read(const QString& path, Output& output) const;
    void write(Output& output, Event_format& format, const Line_event& event) const;

    Event_filter filter_;
    Time_style style_ = Time_style::relative;
    bool json_ = false;
    bool csv_ = false;
};
