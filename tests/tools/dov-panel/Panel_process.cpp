#include "Panel_process.h"

#include "Waiting.h"

#include <QRegularExpression>

Panel_process::~Panel_process()
{
    process_.kill();
    process_.waitForFinished();
}

void Panel_process::start(const QStringList& arguments)
{
    process_.start(QStringLiteral(DOV_PANEL),
                   QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")} +
                       arguments);
    if (!wait_for([this] { return output().contains('\n'); }))
        report::give_up("dov-panel does not serve");
    static const QRegularExpression form(
        QStringLiteral("^dov-panel: http://127\\.0\\.0\\.1:(\\d+)/(?:#token=(\\w+))?\\n$"));
    const auto match = form.match(QString::fromUtf8(output()));
    if (!match.hasMatch())
        report::give_up("dov-panel prints no address");
    port_ = match.captured(1).toInt();
    token_ = match.captured(2).toLatin1();
}

bool Panel_process::run(const QStringList& arguments)
{
    process_.start(QStringLiteral(DOV_PANEL), arguments);
    return wait_for([this] { return process_.state() == QProcess::NotRunning; });
}

bool Panel_process::ends_cleanly()
{
    process_.terminate();
    return wait_for([this] { return process_.state() == QProcess::NotRunning; }) &&
           process_.exitStatus() == QProcess::NormalExit && process_.exitCode() == 0;
}

const QByteArray& Panel_process::output()
{
    return output_ += process_.readAllStandardOutput();
}

const QByteArray& Panel_process::errors()
{
    return errors_ += process_.readAllStandardError();
}

void Panel_process::testify()
{
    if (process_.program().isEmpty())
        return;
    report::tell("dov-panel: standard output", output());
    report::tell("dov-panel: standard error", errors());
    report::tell("dov-panel: state", process_.state() != QProcess::NotRunning
                                         ? QByteArray("it runs")
                                         : QByteArray("it has ended"));
}
