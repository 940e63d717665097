// Prints the catalogue of messages as a table of Lua: what the dissector begins with.

#include "Explanation.h"
#include "Frame.h"

#include <QByteArray>

#include <cstdio>

namespace {

QByteArray quoted(const QString& text)
{
    QByteArray bytes = text.toUtf8();
    bytes.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + bytes + '"';
}

QByteArray quoted(const char* text)
{
    return quoted(QString::fromLatin1(text));
}

/// What stands behind a number of the field's; empty for a unit that cannot.
QString unit_behind(const Field& field)
{
    const QString unit = QString::fromLatin1(field.unit.on_the_line);
    return label_of(field) == QLatin1String(field.label) ? unit : QString();
}

QByteArray codes_of(const Field& field)
{
    QByteArray text = "{";
    for (const Code& code : field.codes)
        text += "{" + QByteArray::number(code.first) + ", " + QByteArray::number(code.last) + ", " +
                quoted(code.name) + "}, ";
    return text + "}";
}

QByteArray row_of(const Field& field)
{
    return "{name = " + quoted(field.name) + ", label = " + quoted(label_of(field)) +
           ", type = " + quoted(name_of(field.type)) + ", style = " + quoted(name_of(field.style)) +
           ", first = " + QByteArray::number(field.first) +
           ", size = " + QByteArray::number(field.size) +
           ", count = " + QByteArray::number(field.count) +
           ", line_unit = " + quoted(unit_behind(field)) + ", unit = " + quoted(field.unit.name) +
           ", scale = " + QByteArray::number(field.unit.scale, 'g', 17) +
           ", codes = " + codes_of(field) + "}";
}

QByteArray row_of(const Message_kind& kind)
{
    QByteArray text = "    [" + QByteArray::number(kind.id) + "] = {name = " + quoted(kind.name) +
                      ", label = " + quoted(kind.label) + ", fields = {\n";
    for (const Field& field : kind.fields())
        text += "      " + row_of(field) + ",\n";
    return text + "    }},\n";
}

QByteArray entry(const char* name, int number)
{
    return QByteArray("  ") + name + " = " + QByteArray::number(number) + ",\n";
}

QByteArray protocol_in_lua()
{
    QByteArray text = "local protocol = {\n";
    text += entry("sync_1", Frame::sync_1);
    text += entry("sync_2", Frame::sync_2);
    text += entry("host_address", Frame::host_address);
    text += entry("controller_address", Frame::controller_address);
    text += entry("source_at", Frame::source_at);
    text += entry("destination_at", Frame::destination_at);
    text += entry("payload_at", Frame::payload_at);
    text += entry("message_size", message_size);
    text += entry("frame_size", Frame::size);
    text += entry("checksum_start", Frame::checksum_start);
    text += entry("response_time_ms", response_time_ms);
    text += "  messages = {\n";
    for (const Message_kind& kind : message_catalogue)
        text += row_of(kind);
    return text + "  },\n}\n";
}

} // namespace

int main()
{
    const QByteArray text = protocol_in_lua();
    const auto size = static_cast<std::size_t>(text.size());
    return std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0 ? 0
                                                                                              : 1;
}
