#include "Line_process.h"

#include "Waiting.h"

#include <csignal>

Line_process::~Line_process()
{
    process_.kill();
    process_.waitForFinished();
}

Line_process::Run Line_process::run(const QStringList& arguments)
{
    Line_process process;
    process.start(arguments);
    return process.end();
}

void Line_process::start(const QStringList& arguments)
{
    process_.start(QStringLiteral(DOV_LINE), arguments);
    if (!process_.waitForStarted())
        qFatal("cannot start %s", DOV_LINE);
}

void Line_process::signal(int number) const
{
    // Once it has ended it has no number, and 0 is the test's own process group.
    if (process_.processId() > 0)
        ::kill(static_cast<pid_t>(process_.processId()), number);
}

const QByteArray& Line_process::output()
{
    return output_ += process_.readAllStandardOutput();
}

Line_process::Run Line_process::end()
{
    if (!wait_for([this] { return !is_running(); }))
        qFatal("dov-line does not end");
    errors_ += process_.readAllStandardError();
    return {process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1,
            QString::fromUtf8(output()), QString::fromUtf8(errors_)};
}

void Line_process::testify()
{
    const QByteArray name = "dov-line " + process_.arguments().join(QLatin1Char(' ')).toLocal8Bit();
    report::tell((name + ": standard output").constData(), output());
    report::tell((name + ": standard error").constData(),
                 errors_ += process_.readAllStandardError());
    if (is_running())
        report::tell((name + ": state").constData(), "it runs");
}
