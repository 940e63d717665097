#include "Controller_process.h"

#include "Waiting.h"

Controller_process::~Controller_process()
{
    process.kill();
    process.waitForFinished();
}

void Controller_process::start(const QStringList& arguments, bool open_line)
{
    process.setProgram(QStringLiteral(DOV_CONTROLLER));
    process.setArguments(arguments);
    process.start();
    if (!process.waitForStarted())
        qFatal("cannot start %s", DOV_CONTROLLER);
    if (!open_line)
        return;
    if (!wait_for([this] { return !devices().isEmpty(); }) || !host.open(devices().constLast()))
        report::give_up("no line");
}

bool Controller_process::run(const QStringList& arguments)
{
    start(arguments, false);
    process.closeWriteChannel();
    return wait_for_end();
}

void Controller_process::command(const QByteArray& text)
{
    const auto before = output().count("\ndigest ");
    write(text + "\nstate\n");
    if (!wait_for([this, before] { return output().count("\ndigest ") > before; }))
        report::give_up("\"" + text + "\" is not done");
}

QList<QByteArray> Controller_process::state()
{
    command("");
    return output().mid(output().lastIndexOf("\n# ")).trimmed().split('\n');
}

int Controller_process::commands()
{
    return state().constFirst().split(' ').value(1).toInt();
}

void Controller_process::wait_for_commands(int count)
{
    if (!wait_for([this, count] { return commands() >= count; }))
        report::give_up(QByteArray::number(count) + " commands do not come");
}

bool Controller_process::ask(const QByteArray& hex)
{
    const int id = QByteArray::fromHex(hex)[0];
    const QByteArray answer = QByteArray(1, static_cast<char>(id + 1)).toHex();
    const auto before = host.count(answer.constData());
    host.send(hex);
    return wait_for([&] { return host.count(answer.constData()) > before; });
}

bool Controller_process::wait_for_end()
{
    return wait_for([this] { return process.state() == QProcess::NotRunning; });
}

void Controller_process::end()
{
    process.terminate();
    if (!wait_for_end())
        report::give_up("it does not end");
}

const QByteArray& Controller_process::output()
{
    return output_ += process.readAllStandardOutput();
}

const QByteArray& Controller_process::errors()
{
    return errors_ += process.readAllStandardError();
}

QStringList Controller_process::devices()
{
    QStringList result;
    // The last piece is a line that is not complete yet.
    QList<QByteArray> lines = output().split('\n');
    lines.removeLast();
    for (const QByteArray& line : lines) {
        if (line.startsWith('/'))
            result.append(QString::fromLocal8Bit(line));
    }
    return result;
}

void Controller_process::testify()
{
    if (process.program().isEmpty())
        return;
    report::tell("dov-controller: standard output", output());
    report::tell("dov-controller: standard error", errors());
    report::tell("dov-controller: state",
                 process.state() != QProcess::NotRunning ? QByteArray("it runs")
                 : process.exitStatus() == QProcess::CrashExit
                     ? QByteArray("a signal ended it")
                     : "it has ended with status " + QByteArray::number(process.exitCode()));
}

QByteArray Controller_process::read(const QString& name) const
{
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Controller_process::write_file(const QString& name, const QByteArray& content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
}
