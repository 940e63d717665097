#include "Device_verb.h"

#include <QDateTime>
#include <QJsonDocument>

namespace {

constexpr qint64 us_per_ms = 1000;
constexpr int highest_baud = 460800;

} // namespace

Device_verb::Device_verb(const char* name, const char* description) : Verb(name, description)
{
    line().add_text("device", "path",
                    "The serial device, or pseudo terminal, that the controller is on.", device_);
    add_number("baudrate", "rate", "The device's speed; 115200.", baud_, 1);
    line().add_text("record", "file", "Records the line.", record_);
}

void Device_verb::add_json()
{
    line().add_switch("json", "An object of JSON a line.", json_);
}

void Device_verb::add_time()
{
    Verb::add_time(style_);
}

void Device_verb::add_number(const char* name, const char* unit, const char* meaning, int& number,
                             int least)
{
    line().add(name, unit, meaning, [name, least, &number](const QString& text) {
        bool good = false;
        number = text.toInt(&good);
        return good && number >= least
                   ? QString()
                   : QStringLiteral("--%1: \"%2\" is no whole number from %3 on")
                         .arg(QLatin1String(name), text)
                         .arg(least);
    });
}

int Device_verb::open(Conversation& conversation)
{
    if (device_.isEmpty()) {
        complain(QStringLiteral("--device is missing"));
        return tool_usage;
    }
    format_.set_wall_clock(QDateTime::currentMSecsSinceEpoch() * us_per_ms);
    const QString error =
        conversation.open(device_, static_cast<uint>(std::min(baud_, highest_baud)));
    if (error.isEmpty())
        return record(conversation);
    complain(error);
    return status_input;
}

/// Begins the recording that is asked for; as open().
int Device_verb::record(Conversation& conversation)
{
    if (record_.isEmpty())
        return tool_done;
    Recording_writer::Order order;
    order.path = record_;
    const qint64 now_us = QDateTime::currentMSecsSinceEpoch() * us_per_ms;
    order.wall_clock_us = [now_us] { return now_us; };
    order.complain = [](const QString& text) { complain(text); };
    const QString error = recording_.open(order);
    if (!error.isEmpty()) {
        complain(error);
        return status_output;
    }
    conversation.set_recorder([this](const Line_record& record) { recording_.write(record); });
    return tool_done;
}

void Device_verb::show(const Line_event& event, bool is_shown)
{
    format_.see(event);
    if (!is_shown)
        return;
    if (json_)
        output_.line(QJsonDocument(format_.json(event)).toJson(QJsonDocument::Compact));
    else
        output_.line(format_.line(event, style_));
    output_has_failed_ = !output_.flush();
}

void Device_verb::tell(const QString& text, const QJsonObject& object)
{
    if (json_)
        output_.line(QJsonDocument(object).toJson(QJsonDocument::Compact));
    else
        output_.line(text);
    output_has_failed_ = !output_.flush();
}

int Device_verb::end(const Conversation& conversation, int status)
{
    if (!conversation.error().isEmpty())
        complain(conversation.error());
    const bool is_recorded = record_.isEmpty() || recording_.end();
    if (!output_.flush() || !is_recorded)
        return status_output;
    return conversation.error().isEmpty() ? status : status_input;
}
