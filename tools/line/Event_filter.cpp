#include "Event_filter.h"

#include "Explanation.h"
#include "Message_text.h"

#include <algorithm>

namespace {

bool is_error(const Line_event& event)
{
    switch (event.kind) {
    case Line_event::Kind::frame:
        return !event.has_right_addresses() || find_message(event.id()) == nullptr ||
               event.is_late || event.fate == Line_event::Fate::unanswered;
    case Line_event::Kind::broken:
    case Line_event::Kind::skipped:
    case Line_event::Kind::hang_up:
    case Line_event::Kind::gap:
        return true;
    case Line_event::Kind::connection:
        break;
    }
    return false;
}

} // namespace

QString Event_filter::want_message(const QString& text)
{
    const auto id = identifier_of(text);
    if (!id)
        return QStringLiteral("\"%1\" is neither an identifier nor the name of a message")
            .arg(text);
    ids_.append(*id);
    return {};
}

QString Event_filter::want_field(const QString& text)
{
    const auto condition = split_condition(text);
    if (!condition)
        return QStringLiteral("\"%1\" is not FIELD=VALUE").arg(text);
    const auto before = conditions_.size();
    bool is_known = false;
    for (const Field& field : field_catalogue) {
        if (condition->name != QLatin1String(field.name))
            continue;
        is_known = true;
        const auto number = number_of(field, condition->value);
        if (number)
            conditions_.append({&field, condition->relation, *number});
    }
    if (!is_known)
        return QStringLiteral("no message has a field \"%1\"").arg(condition->name);
    if (conditions_.size() == before)
        return QStringLiteral("\"%1\" is no value of %2").arg(condition->value, condition->name);
    return {};
}

bool Event_filter::wants(const Line_event& event) const
{
    if (sender_ && *sender_ != event.sender)
        return false;
    if (only_unanswered_ && event.fate != Line_event::Fate::unanswered)
        return false;
    if (only_errors_ && !is_error(event))
        return false;
    return wants_message(event) && wants_field(event);
}

bool Event_filter::wants_message(const Line_event& event) const
{
    return ids_.isEmpty() || (event.is_frame() && ids_.contains(event.id()));
}

bool Event_filter::wants_field(const Line_event& event) const
{
    if (conditions_.isEmpty())
        return true;
    if (!event.is_frame())
        return false;
    return std::any_of(
        conditions_.begin(), conditions_.end(), [&event](const Field_condition& condition) {
            return condition.field->id == event.id() && holds(condition.field->get(event.message()),
                                                              condition.relation, condition.number);
        });
}
