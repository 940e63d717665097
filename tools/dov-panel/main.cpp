#include "Locale.h"
#include "Options.h"
#include "Panel.h"
#include "Posix_signals.h"

#include <QCoreApplication>

namespace {

const QString tool = QStringLiteral("dov-panel");

int run(const Options& options)
{
    const Posix_signals signals;
    QObject::connect(&signals, &Posix_signals::end_asked, qApp, &QCoreApplication::quit);
    Change_token token;
    QString error;
    if (options.control && options.token_file.isEmpty())
        token = Change_token::make();
    else if (options.control)
        error = Change_token::keep_in(options.token_file, token);
    Panel panel(options, token);
    if (error.isEmpty())
        error = panel.start();
    if (!error.isEmpty()) {
        complain(tool, error);
        return tool_failed;
    }
    if (!say(stdout, tool + QStringLiteral(": ") + panel.address()))
        return tool_failed;
    return QCoreApplication::exec();
}

} // namespace

int main(int count, char** arguments)
{
    // Qt's own event loop; the one built on GLib is of no use here.
    qputenv("QT_NO_GLIB", "1");
    use_utf8_locale();
    const QCoreApplication application(count, arguments);
    QCoreApplication::setApplicationVersion(QStringLiteral(DOV_VERSION));
    Options options;
    const Tool_request request = parse_command_line(QCoreApplication::arguments(), options);
    return request.runs() ? run(options) : leave(tool, request);
}
