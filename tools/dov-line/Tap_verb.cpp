#include "Tap_verb.h"

#include "Device_holder.h"
#include "Posix_signals.h"
#include "Service_manager.h"

#include <QCoreApplication>

namespace {

/// What waits to be looked at, at most; minutes of a busy line.
constexpr std::size_t seen_bytes = std::size_t{4} << 20;

constexpr int most_files = 1000;

/// "512", "64k", "10M" or "1G"; 0 for anything else.
quint64 size_of(const QString& text)
{
    constexpr std::pair<char, int> units[] = {{'k', 10}, {'M', 20}, {'G', 30}};
    QString digits = text;
    int shift = 0;
    for (const auto& [letter, bits] : units) {
        if (digits.endsWith(QLatin1Char(letter))) {
            digits.chop(1);
            shift = bits;
            break;
        }
    }
    return quint64{digits.toUInt()} << shift;
}

} // namespace

Tap_verb::Tap_verb()
    : Verb("tap", "Stands between the daemon and its device, and shows what passes.\n\n"
                  "Makes a pseudo terminal that the daemon opens in the place of the device, and "
                  "passes every byte.\nSIGUSR1 keeps what led to that moment, with --ring.")
{
    line().add_text("device", "path", "The serial device.", order_.device);
    line().add_text("link", "path", "The name that the daemon opens: a symbolic link, made here.",
                    order_.link);
    line().add_switch("quiet", "Prints nothing of what passes.", is_quiet_);
    line().add_switch("json", "Prints an object of JSON a line.", order_.json);
    add_time(order_.style);
    add_recordings();
    add_incidents();
    line().add_text("status", "file", "Keeps counters there, as JSON.", order_.status);
}

void Tap_verb::add_recordings()
{
    line().add_text("record", "file", "Records the line.", order_.record);
    line().add_text("pcapng", "file", "Records it as pcapng; - is standard output.", order_.pcapng);
    line().add_text("socket", "path", "Gives it as pcapng to everybody who connects there.",
                    order_.socket);
    add_size("rotate", "Begins a new file at this size, as 10M; FILE becomes FILE.1.",
             [this](quint64 size) { order_.rotation.most_bytes = size; });
    order_.rotation.files = order_.kept_files;
    line().add("files", "number", "How many files --rotate and --ring leave, each; 10.",
               [this](const QString& text) {
                   const int files = text.toInt();
                   order_.rotation.files = files;
                   order_.kept_files = files;
                   return files > 0 && files <= most_files
                              ? QString()
                              : QStringLiteral("--files: \"%1\" is not 1 to 1000").arg(text);
               });
}

void Tap_verb::add_incidents()
{
    add_size("ring",
             "Keeps the last so many bytes, as 1M, when something goes wrong: a wrong checksum, no "
             "answer, an unknown identifier, a hang-up, SIGUSR1.",
             [this](quint64 size) { ring_bytes_ = size; });
    order_.keep = QStringLiteral("dov-line");
    line().add_text("keep", "path", "What the names of those files begin with; dov-line.",
                    order_.keep);
}

void Tap_verb::add_size(const char* name, const char* meaning,
                        const std::function<void(quint64)>& take)
{
    line().add(name, "size", meaning, [name, take](const QString& text) {
        const quint64 size = size_of(text);
        take(size);
        return size > 0 ? QString()
                        : QStringLiteral("--%1: \"%2\" is no size").arg(QLatin1String(name), text);
    });
}

QString Tap_verb::wrong_usage() const
{
    constexpr quint64 least_file = 65536; // longer than any record
    constexpr quint64 most_ring = quint64{1} << 30;
    if (order_.device.isEmpty() || order_.link.isEmpty())
        return QStringLiteral("tap takes --device and --link");
    if (order_.rotation.most_bytes > 0 && order_.rotation.most_bytes < least_file)
        return QStringLiteral("--rotate: a file has at least 64k");
    if (ring_bytes_ > most_ring)
        return QStringLiteral("--ring: there is no room for more than 1G");
    return {};
}

int Tap_verb::run(const QStringList& /*arguments*/)
{
    const QString wrong = wrong_usage();
    if (!wrong.isEmpty()) {
        complain(wrong);
        return tool_usage;
    }
    order_.ring_bytes = static_cast<std::size_t>(ring_bytes_);
    order_.prints = !is_quiet_ && order_.pcapng != QLatin1String("-");
    order_.complain = [](const QString& text) { complain(text); };

    const Posix_signals signals(true);
    const Line_clock clock;
    Record_buffer seen(seen_bytes);
    Line_tap tap(clock, seen);
    Tap_observer observer(clock, tap, seen);
    QObject::connect(&signals, &Posix_signals::end_asked, qApp, &QCoreApplication::quit);
    QObject::connect(&signals, &Posix_signals::user_asked, &observer, &Tap_observer::keep);

    const auto fails = [](const QString& error) {
        if (!error.isEmpty())
            complain(error);
        return !error.isEmpty();
    };
    // The link last: who finds it can have the line. The files not before the device: a recording
    // is not replaced by one of nothing.
    if (fails(tap.open(order_.device, order_.link)))
        return status_input;
    const QString holder = holder_of(tap.device_descriptor());
    if (!holder.isEmpty())
        complain(QStringLiteral("%1: %2 has it open as well, and takes some of its bytes")
                     .arg(order_.device, holder));
    if (fails(observer.start(order_)))
        return status_output;
    if (fails(tap.start()))
        return status_input;
    Service_manager::tell_ready();
    QCoreApplication::exec();
    tap.stop();
    return observer.end() ? tool_done : status_output;
}
