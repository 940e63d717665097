#include "Recording_events.h"

#include "Verb.h"

bool Recording_events::open(const QString& path)
{
    Recording_reader::Opened opened = Recording_reader::open(path);
    if (opened.reader == nullptr) {
        complain(opened.error);
        return false;
    }
    reader_ = std::move(opened.reader);
    return true;
}

bool Recording_events::next(Line_event& event)
{
    while (!analysis_.next(event)) {
        if (has_ended_)
            return false;
        Line_record record;
        if (reader_->next(record)) {
            analysis_.take(record);
            continue;
        }
        analysis_.end();
        has_ended_ = true;
        if (!is_whole())
            complain(reader_->error());
    }
    return true;
}
