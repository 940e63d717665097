#include "Command_reader.h"

#include "Text_error.h"

#include <limits>

#include <unistd.h>

Command_reader::Command_reader(int descriptor, const QString& name, Bench_controller& bench)
    : descriptor_(descriptor),
      name_(name),
      bench_(bench),
      notifier_(descriptor, QSocketNotifier::Read),
      lines_(std::numeric_limits<int>::max())
{
    connect(&notifier_, &QSocketNotifier::activated, this, &Command_reader::read_some);
}

void Command_reader::read_some()
{
    char bytes[4096];
    const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
    if (count > 0)
        lines_.add(QByteArray(bytes, static_cast<int>(count)));
    else
        notifier_.setEnabled(false);
    while (const auto line = lines_.next())
        take_line(*line);
    const QByteArray rest = count > 0 ? QByteArray() : lines_.take_rest();
    if (!rest.isEmpty())
        take_line(rest);
}

void Command_reader::take_line(const QByteArray& line)
{
    ++line_number_;
    Words words(line);
    if (words.at_end())
        return;
    const Action action = parse_command(words);
    if (action)
        action(bench_);
    else
        Q_EMIT failed(Text_error{line_number_, words.error_column(), words.error()}.in(name_));
}
