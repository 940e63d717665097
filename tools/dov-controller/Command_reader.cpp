#include "Command_reader.h"

#include "Text_error.h"

#include <unistd.h>

Command_reader::Command_reader(int descriptor, const QString& name, Bench_controller& bench)
    : descriptor_(descriptor),
      name_(name),
      bench_(bench),
      notifier_(descriptor, QSocketNotifier::Read)
{
    connect(&notifier_, &QSocketNotifier::activated, this, &Command_reader::read_some);
}

void Command_reader::read_some()
{
    char bytes[4096];
    const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
    if (count > 0)
        pending_.append(bytes, static_cast<int>(count));
    else
        notifier_.setEnabled(false);
    for (auto end = pending_.indexOf('\n'); end >= 0; end = pending_.indexOf('\n')) {
        const QByteArray line = pending_.left(end);
        pending_.remove(0, end + 1);
        take_line(line);
    }
    if (count <= 0 && !pending_.isEmpty())
        take_line(pending_);
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
