#pragma once

#include "Conversation.h"
#include "Event_format.h"
#include "Output.h"
#include "Recording_writer.h"
#include "Verb.h"

/// What has the host's end of a device: `--device`, `--baudrate`, `--record`, and the events
/// on standard output, each at once.
class Device_verb : public Verb {
protected:
    Device_verb(const char* name, const char* description);

    /// Adds `--json`.
    void add_json();

    /// Adds `--time`, for what shows events.
    void add_time();

    /// Adds an option that takes a whole number in a range; `what` names it in the complaint.
    void add_number(const char* name, const char* unit, const char* meaning, int& number,
                    int least);

    /// Opens the device. The status to end with, after saying why, when it cannot be had; else
    /// tool_done.
    int open(Conversation& conversation);

    /// Writes an event, a line or an object. `is_shown`: else it is only looked at.
    void show(const Line_event& event, bool is_shown = true);

    /// Writes a text for people, or an object for programs.
    void tell(const QString& text, const QJsonObject& object);

    /// How to end after a conversation that would have ended with `status`: the device may be
    /// gone, which is said, and the output too.
    int end(const Conversation& conversation, int status);

    bool is_json() const { return json_; }
    bool is_output_gone() const { return output_has_failed_; }
    Output& output() { return output_; }

private:
    int record(Conversation& conversation);

    QString device_;
    QString record_;
    Recording_writer recording_;
    Time_style style_ = Time_style::relative;
    int baud_ = 115200;
    bool json_ = false;
    Event_format format_;
    Output output_;
    bool output_has_failed_ = false;
};
