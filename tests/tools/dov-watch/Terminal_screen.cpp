#include "Terminal_screen.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

Terminal_screen::Terminal_screen(const QString& program, const QStringList& arguments)
    : cells_(columns_ * rows_, QLatin1Char(' '))
{
    std::vector<QByteArray> texts = {program.toLocal8Bit()};
    for (const QString& argument : arguments)
        texts.push_back(argument.toLocal8Bit());
    std::vector<char*> vector;
    vector.reserve(texts.size() + 1);
    for (QByteArray& text : texts)
        vector.push_back(text.data());
    vector.push_back(nullptr);

    int slave = -1;
    winsize size = {};
    size.ws_row = static_cast<unsigned short>(rows_);
    size.ws_col = static_cast<unsigned short>(columns_);
    if (::openpty(&master_, &slave, nullptr, nullptr, &size) != 0)
        qFatal("no pty");
    (void)tcgetattr(slave, &before_);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::close(master_);
        (void)::login_tty(slave);
        ::setenv("TERM", "xterm", 1);
        ::setenv("LC_ALL", "C.UTF-8", 1);
        ::execvp(vector[0], vector.data());
        ::_exit(127);
    }
    ::close(slave);
    notifier_ = std::make_unique<QSocketNotifier>(master_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { receive(); });
}

Terminal_screen::~Terminal_screen()
{
    if (!has_ended()) {
        ::kill(pid_, SIGKILL);
        (void)::waitpid(pid_, nullptr, 0);
    }
    notifier_.reset();
    ::close(master_);
}

void Terminal_screen::type(const QByteArray& keys) const
{
    (void)!::write(master_, keys.constData(), static_cast<std::size_t>(keys.size()));
}

void Terminal_screen::resize(int columns, int rows)
{
    columns_ = columns;
    rows_ = rows;
    cells_ = QString(columns * rows, QLatin1Char(' '));
    x_ = y_ = 0;
    winsize size = {};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = static_cast<unsigned short>(columns);
    (void)ioctl(master_, TIOCSWINSZ, &size);
}

QString Terminal_screen::text() const
{
    QString text;
    for (int y = 0; y < rows_; ++y)
        text += cells_.mid(y * columns_, columns_) + QLatin1Char('\n');
    return text;
}

bool Terminal_screen::has_ended()
{
    if (!ended_ && ::waitpid(pid_, &status_, WNOHANG) == pid_)
        ended_ = true;
    return ended_;
}

int Terminal_screen::exit_status() const
{
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
}

bool Terminal_screen::is_restored() const
{
    termios now = {};
    (void)tcgetattr(master_, &now);
    return now.c_iflag == before_.c_iflag && now.c_oflag == before_.c_oflag &&
           now.c_lflag == before_.c_lflag && !is_alternate_ && is_cursor_visible_;
}

void Terminal_screen::testify()
{
    QStringList rows = text().split(QLatin1Char('\n'));
    for (QString& row : rows)
        row = QLatin1Char('|') + row;
    report::tell("screen", rows.join(QLatin1Char('\n')).toUtf8());
    report::tell("program on it", !has_ended()          ? QByteArray("it runs")
                                  : exit_status() == -1 ? QByteArray("a signal ended it")
                                                        : "it has ended with status " +
                                                              QByteArray::number(exit_status()));
}

void Terminal_screen::receive()
{
    char bytes[4096];
    const ssize_t count = ::read(master_, bytes, sizeof bytes);
    if (count <= 0) {
        notifier_->setEnabled(false);
        return;
    }
    output_.append(bytes, static_cast<int>(count));
    pending_.append(bytes, static_cast<int>(count));
    int at = 0;
    while (at < pending_.size()) {
        const int length = take(pending_, at);
        if (length == 0)
            break;
        at += length;
    }
    pending_.remove(0, at);
}

/// Takes what begins there. Its length; 0 when it is not whole yet.
int Terminal_screen::take(const QByteArray& bytes, int at)
{
    const auto first = static_cast<uchar>(bytes[at]);
    if (first == 27)
        return take_escape(bytes, at);
    if (first == '\r')
        x_ = 0;
    else if (first == '\n')
        y_ = std::min(y_ + 1, rows_ - 1);
    else if (first == '\b')
        x_ = std::max(x_ - 1, 0);
    if (first < 32)
        return 1;
    const int length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (at + length > bytes.size())
        return 0;
    put(QString::fromUtf8(bytes.mid(at, length)).at(0));
    return length;
}

int Terminal_screen::take_escape(const QByteArray& bytes, int at)
{
    if (at + 1 >= bytes.size())
        return 0;
    if (bytes[at + 1] == '(')
        return at + 2 < bytes.size() ? 3 : 0;
    if (bytes[at + 1] != '[')
        return 2;
    int end = at + 2;
    while (end < bytes.size() && static_cast<uchar>(bytes[end]) < 0x40)
        ++end;
    if (end >= bytes.size())
        return 0;
    QByteArray parameters = bytes.mid(at + 2, end - at - 2);
    const bool is_private = parameters.startsWith('?');
    if (is_private)
        parameters.remove(0, 1);
    std::vector<int> numbers;
    for (const QByteArray& number : parameters.split(';'))
        numbers.push_back(number.toInt());
    control(bytes[end], numbers, is_private);
    return end - at + 1;
}

void Terminal_screen::control(char final, const std::vector<int>& numbers, bool is_private)
{
    const int first = numbers.front();
    const int count = std::max(first, 1);
    const int here = y_ * columns_ + x_;
    switch (final) {
    case 'H':
        y_ = count - 1;
        x_ = numbers.size() > 1 ? std::max(numbers[1], 1) - 1 : 0;
        break;
    case 'A':
        y_ -= count;
        break;
    case 'B':
        y_ += count;
        break;
    case 'C':
        x_ += count;
        break;
    case 'D':
        x_ -= count;
        break;
    case 'G':
        x_ = count - 1;
        break;
    case 'd':
        y_ = count - 1;
        break;
    case 'J':
        blank(first == 2 ? 0 : here, columns_ * rows_);
        break;
    case 'K':
        blank(first == 1 ? y_ * columns_ : here, first == 1 ? here + 1 : (y_ + 1) * columns_);
        break;
    case 'X':
        blank(here, here + count);
        break;
    case 'P':
        cells_.remove(here, count);
        cells_.insert((y_ + 1) * columns_ - count, QString(count, QLatin1Char(' ')));
        break;
    case '@':
        cells_.insert(here, QString(count, QLatin1Char(' ')));
        cells_.remove((y_ + 1) * columns_, count);
        break;
    case 'b':
        for (int i = 0; i < count; ++i)
            put(last_);
        break;
    case 'h':
    case 'l':
        if (is_private && first == 1049)
            is_alternate_ = final == 'h';
        if (is_private && (first == 25 || first == 12))
            is_cursor_visible_ = final == 'h' || first == 12;
        break;
    default:
        break;
    }
    x_ = std::max(0, std::min(x_, columns_ - 1));
    y_ = std::max(0, std::min(y_, rows_ - 1));
}

void Terminal_screen::blank(int from, int to)
{
    for (int i = from; i < std::min(to, columns_ * rows_); ++i)
        cells_[i] = QLatin1Char(' ');
}

void Terminal_screen::put(QChar character)
{
    last_ = character;
    cells_[y_ * columns_ + std::min(x_, columns_ - 1)] = character;
    ++x_;
}
