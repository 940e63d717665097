#pragma once

#include "Command.h"
#include "Line_splitter.h"

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

/// Reads commands, one a line, from a descriptor, and does them as they come.
class Command_reader : public QObject {
    Q_OBJECT
public:
    /// `name`: what errors call it.
    Command_reader(int descriptor, const QString& name, Bench_controller& bench);

Q_SIGNALS:
    /// A line is not good: where and why.
    void failed(const QString& text);

private:
    void read_some();
    void take_line(const QByteArray& line);

    int descriptor_;
    QString name_;
    Bench_controller& bench_;
    QSocketNotifier notifier_;
    Line_splitter lines_;
    int line_number_ = 0;
};
