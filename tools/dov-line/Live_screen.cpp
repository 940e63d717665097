#include "Live_screen.h"

#include "Live_view.h"

#include <QFile>
#include <QJsonDocument>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int refresh_ms = 500;

/// A tap writes its status as often: after so many times without a new one it has ended.
constexpr int most_unchanged = 4;

constexpr char begin_screen[] = "\033[?1049h\033[?25l";
constexpr char end_screen[] = "\033[?25h\033[?1049l";

/// How many lines the terminal has; 0 for what is none.
int terminal_height()
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}

} // namespace

Live_screen::Live_screen(const QString& path)
    : path_(path), is_terminal_(isatty(STDOUT_FILENO) != 0)
{
    connect(&timer_, &QTimer::timeout, this, &Live_screen::show);
}

Live_screen::~Live_screen()
{
    keys_.reset();
    if (settings_before_)
        tcsetattr(STDIN_FILENO, TCSANOW, &*settings_before_);
    if (is_terminal_ && timer_.isActive())
        write(end_screen);
}

QString Live_screen::start()
{
    QString error = read();
    if (!error.isEmpty())
        return error;
    watch_keys();
    if (is_terminal_)
        write(begin_screen);
    timer_.start(refresh_ms);
    show();
    return {};
}

void Live_screen::show()
{
    const QJsonObject before = status_;
    const QString error = read();
    unchanged_ = status_ == before ? unchanged_ + 1 : 0;
    QStringList lines = live_lines(status_);
    if (!error.isEmpty())
        lines[0] += QStringLiteral("   ") + error;
    else if (unchanged_ >= most_unchanged)
        lines[0] += QStringLiteral("   the tap does not write any more");
    const int height = terminal_height();
    if (height > 0 && lines.size() > height)
        lines = lines.mid(0, height);
    const QString text = is_terminal_
                             ? QStringLiteral("\033[H") + lines.join(QStringLiteral("\033[K\n")) +
                                   QStringLiteral("\033[K\033[J")
                             : lines.join(QLatin1Char('\n')) + QStringLiteral("\n\n");
    write(text.toUtf8());
}

QString Live_screen::read()
{
    QFile file(path_);
    if (!file.open(QIODevice::ReadOnly))
        return path_ + QStringLiteral(": ") + file.errorString();
    const QJsonObject status = QJsonDocument::fromJson(file.readAll()).object();
    if (!status.contains(QStringLiteral("tap")))
        return path_ + QStringLiteral(": not the status of a tap");
    status_ = status;
    return {};
}

void Live_screen::watch_keys()
{
    termios settings{};
    if (isatty(STDIN_FILENO) == 0 || tcgetpgrp(STDIN_FILENO) != getpgrp() ||
        tcgetattr(STDIN_FILENO, &settings) != 0)
        return;
    settings_before_ = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
    keys_ = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(keys_.get(), &QSocketNotifier::activated, this, [this] {
        char key = 0;
        const bool is_at_end = ::read(STDIN_FILENO, &key, 1) != 1;
        if (is_at_end || key == 'q')
            Q_EMIT end_asked();
    });
}

void Live_screen::write(const QByteArray& text) const
{
    (void)!::write(STDOUT_FILENO, text.constData(), static_cast<std::size_t>(text.size()));
}
