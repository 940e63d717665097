#include "Metrics.h"

#include "Bus_names.h"
#include "Formats.h"

#include <QVector>

#include <cstring>

namespace {

double seconds(qint64 ms)
{
    return static_cast<double>(ms) / 1000;
}

struct Base_unit {
    const char* unit; ///< as the catalogue has it
    const char* name; ///< as names of metrics end
    double scale;
};

constexpr Base_unit base_units[] = {
    {"V", "volts", 1}, {"\u00b0C", "celsius", 1}, {"%", "ratio", 0.01}, {"", "", 1}};

const Base_unit& base_unit(const char* unit)
{
    const Base_unit* found = base_units;
    while (std::strcmp(found->unit, unit) != 0 && *found->unit != '\0')
        ++found;
    return *found;
}

/// The samples of one name, which have to stand together.
struct Family {
    QByteArray name;
    QByteArray help;
    bool is_gauge;
    QByteArray samples;
};

class Families {
public:
    /// The name's, a new one behind all others if need be.
    Family& of(const QByteArray& name, const QByteArray& help, bool is_gauge = true)
    {
        for (Family& family : families_) {
            if (family.name == name)
                return family;
        }
        families_.append({name, help, is_gauge, {}});
        return families_.last();
    }

    QByteArray text() const
    {
        QByteArray text;
        for (const Family& family : families_) {
            text += "# HELP " + family.name + ' ' + family.help + '\n';
            if (family.is_gauge)
                text += "# TYPE " + family.name + " gauge\n";
            text += family.samples;
        }
        return text + "# EOF\n";
    }

private:
    QVector<Family> families_;
};

QByteArray label(const char* name, const QString& value)
{
    QByteArray text = value.toUtf8();
    text.replace('\\', "\\\\").replace('"', "\\\"").replace('\n', "\\n");
    return QByteArray(name) + "=\"" + text + '"';
}

void add(Family& family, const QByteArray& labels, double value)
{
    const QByteArray where = labels.isEmpty() ? labels : '{' + labels + '}';
    family.samples += family.name + where + ' ' + QByteArray::number(value, 'g', 12) + '\n';
}

bool is_start_part(const QVariant& part, const Start_value& start)
{
    return start.type == Start_value::Type::text
               ? part.toString() == QLatin1String(start.text)
               : part.toDouble() <= start.number && part.toDouble() >= start.number;
}

/// Whether the value says no more than that nothing has been told.
bool is_no_value(const QVariant& value, const Value_row& row)
{
    if (!row.start_is_no_value)
        return false;
    const QVariantList parts =
        value.userType() == QMetaType::QVariantList ? value.toList() : QVariantList{value};
    for (const QVariant& part : parts) {
        if (!is_start_part(part, row.start))
            return false;
    }
    return true;
}

/// A value that is known, and where it is.
struct Known_value {
    const Watched_object* object;
    const Value_row* row;
    const Watched_value* value;

    const Object_kind& kind() const { return *object->entry.kind; }
    QByteArray object_label() const
    {
        return label("object", object->entry.path.mid(static_cast<int>(std::strlen(path_prefix))));
    }
};

QVector<Known_value> known_values(const Watch_model& model)
{
    QVector<Known_value> known;
    for (const Watched_object& object : model.objects()) {
        for (std::size_t i = 0; i < object.values.size(); ++i) {
            const Value_row& row = object.entry.kind->values[i];
            const Watched_value& value = object.values[i];
            if (row.getter != nullptr && value.fresh && !is_no_value(value.value, row))
                known.append({&object, &row, &value});
        }
    }
    return known;
}

/// What the getter is about: "get_value" is about the object itself, as is one that has its name.
QByteArray subject_of(const Known_value& known)
{
    const QByteArray getter = known.row->getter;
    const QByteArray subject = getter.mid(getter.indexOf('_') + 1);
    const bool is_object = subject == "value" || subject == "get" || subject == known.kind().name;
    return is_object ? QByteArray() : '_' + subject;
}

/// A number is a sample; anything else is a label of one that is always 1.
void add_value(Families& families, const Known_value& known)
{
    const QByteArray name = QByteArray("dov_") + known.kind().name + subject_of(known);
    const QByteArray help =
        QByteArray(known.row->getter) + " of " + interface_prefix + known.kind().interface;
    const QVariant& value = known.value->value;
    if (value.userType() == QMetaType::QString || value.userType() == QMetaType::QVariantList) {
        add(families.of(name + "_info", help + ", as a label"),
            known.object_label() + ',' + label("value", plain_text(value)), 1);
        return;
    }
    const Base_unit& unit = base_unit(known.row->look.unit);
    const QByteArray suffix = *unit.name == '\0' ? QByteArray() : QByteArray("_") + unit.name;
    add(families.of(name + suffix, help), known.object_label(), value.toDouble() * unit.scale);
}

void add_objects(Families& families, const Watch_model& model, qint64 now_ms)
{
    const QVector<Known_value> values = known_values(model);
    for (const Known_value& known : values)
        add_value(families, known);
    for (const Known_value& known : values)
        add(families.of("dov_value_age_seconds",
                        "Time since the value last changed, or was first known"),
            known.object_label() + ',' + label("member", QLatin1String(known.row->getter)),
            seconds(now_ms - known.value->changed_ms));
}

void add_health(Families& families, const Watch_model& model, qint64 now_ms)
{
    const Link_health health = model.health(now_ms);
    const bool is_up = !health.owner.isEmpty();
    add(families.of("dov_service_up", "Whether the service is on the bus"), {}, is_up ? 1 : 0);
    add(families.of("dov_service_since_seconds", "Time since the service came, or went"), {},
        seconds(now_ms - health.since_ms));
    add(families.of("dov_signals_total", "Signals of the service", false), {},
        static_cast<double>(health.signals_seen));
    if (health.last_signal_ms)
        add(families.of("dov_last_signal_age_seconds", "Time since the last signal"), {},
            seconds(now_ms - *health.last_signal_ms));
    if (!is_up)
        return;
    add(families.of("dov_digest_rate_hertz", "At least so many digests a second have come"), {},
        health.digest_rate);
    add(families.of("dov_controller_versions", "Versions that the controller tells"), {},
        health.versions);
    add(families.of("dov_controller_versions_known", "Those that it has told"), {},
        health.versions_known);
}

struct Line_counter {
    const char* figure; ///< of the tap's status
    const char* help;
};

constexpr Line_counter line_counters[] = {
    {"host_frames", "Good frames of the host"},
    {"controller_frames", "Good frames of the controller"},
    {"checksum_errors", "Frames with a wrong checksum"},
    {"address_errors", "Frames with wrong addresses"},
    {"skipped_bytes", "Bytes of no frame"},
    {"unknown_identifiers", "Frames with an unknown identifier"},
    {"unanswered", "Requests without an answer within 300 ms"},
    {"late_answers", "Answers after more than 300 ms"},
    {"hang_ups", "How often the line went away"},
    {"missing_records", "What the tap could not follow"},
};

void add_line(Families& families, const QJsonObject& line)
{
    for (const Line_counter& counter : line_counters) {
        const QJsonValue value = line.value(QLatin1String(counter.figure));
        if (value.isDouble())
            add(families.of(QByteArray("dov_line_") + counter.figure + "_total", counter.help,
                            false),
                {}, value.toDouble());
    }
    const QJsonValue device =
        line.value(QLatin1String("tap")).toObject().value(QLatin1String("has_device"));
    if (device.isBool())
        add(families.of("dov_line_device_present", "Whether the tap has the adapter"), {},
            device.toBool() ? 1 : 0);
}

} // namespace

QByteArray metrics_text(const Watch_model& model, const QJsonObject& line, qint64 now_ms)
{
    Families families;
    add_health(families, model, now_ms);
    add_objects(families, model, now_ms);
    add_line(families, line);
    return families.text();
}
