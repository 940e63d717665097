#pragma once

#include "Host_end.h"
#include "Report.h"

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// dov-controller itself, with a directory of its own and the host's end of its line.
class Controller_process final : public report::Witness {
public:
    ~Controller_process();

    /// Starts it and, unless told not to, opens the line that it makes.
    void start(const QStringList& arguments = {}, bool open_line = true);

    /// Runs it to its end; whether it ended by itself. No line is opened.
    bool run(const QStringList& arguments);

    /// Gives it a command on its standard input and waits until it has been done.
    void command(const QByteArray& text);

    /// The same for the command "state"; its lines.
    QList<QByteArray> state();

    /// How many commands it has had from the host.
    int commands();

    /// Waits until it has had so many: its line and its standard input have no order.
    void wait_for_commands(int count);

    /// Gives it lines on its standard input and does not wait.
    void write(const QByteArray& text) { process.write(text); }

    /// Sends a message as the host, and waits for the answer's identifier to come once more.
    bool ask(const QByteArray& hex);

    bool wait_for_end();
    void end();

    const QByteArray& output();
    const QByteArray& errors();

    /// The devices that it has told of, oldest first.
    QStringList devices();

    /// What it has printed, and whether it runs.
    void testify() override;

    QString path(const QString& name) const { return directory_.filePath(name); }
    QByteArray read(const QString& name) const;
    void write_file(const QString& name, const QByteArray& content) const;

    QProcess process;
    Host_end host;

private:
    QTemporaryDir directory_;
    QByteArray output_;
    QByteArray errors_;
};
