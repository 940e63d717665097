#include "Line_tap.h"

#include "Signal_free_thread.h"

#include <QFileInfo>

#include <cerrno>
#include <iterator>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

/// After so long without news, what could not be written is tried again: not every driver tells
/// that it has room.
constexpr int write_again_ms = 10;

/// Edge-triggered: nobody at the other end is one event then, and not one after the other.
constexpr uint32_t line_events = EPOLLIN | EPOLLPRI | EPOLLOUT | EPOLLET;

bool watch(int poll, int descriptor, uint32_t events)
{
    epoll_event event{};
    event.events = events;
    event.data.fd = descriptor;
    return epoll_ctl(poll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

bool is_same_file(const QString& left, const QString& right)
{
    const QString canonical = QFileInfo(left).canonicalFilePath();
    return !canonical.isEmpty() && canonical == QFileInfo(right).canonicalFilePath();
}

} // namespace

QString Line_tap::open(const QString& device, const QString& link)
{
    device_path_ = device;
    link_path_ = link;
    if (is_same_file(device, link))
        return link + QStringLiteral(" is the device itself");
    poll_ = epoll_create1(EPOLL_CLOEXEC);
    stop_news_ = eventfd(0, EFD_CLOEXEC);
    if (poll_ < 0 || stop_news_ < 0 || !watch(poll_, stop_news_, EPOLLIN))
        return QStringLiteral("no descriptor for the line");
    return open_ends();
}

QString Line_tap::start()
{
    QString error = make_link();
    if (!error.isEmpty())
        return error;
    thread_ = signal_free_thread([this] { run(); });
    return {};
}

void Line_tap::stop()
{
    if (thread_.joinable()) {
        is_to_stop_ = true;
        (void)eventfd_write(stop_news_, 1);
        thread_.join();
    }
    close_ends();
    for (int* descriptor : {&poll_, &stop_news_}) {
        if (*descriptor >= 0)
            ::close(*descriptor);
        *descriptor = -1;
    }
}

QString Line_tap::open_ends()
{
    QString error = device_.open(device_path_);
    if (error.isEmpty())
        error = host_.open(device_.found());
    if (error.isEmpty() && !(watch(poll_, device_.descriptor(), line_events) &&
                             watch(poll_, host_.descriptor(), line_events)))
        error = device_path_ + QStringLiteral(": cannot be watched");
    if (!error.isEmpty())
        close_ends();
    return error;
}

QString Line_tap::make_link()
{
    QString error = link_.make(link_path_, host_.name());
    if (!error.isEmpty()) {
        close_ends();
        return error;
    }
    speed_ = cfgetospeed(&device_.found());
    has_device_ = true;
    host_has_news_ = true;
    device_has_news_ = true;
    lines_dropped_ = false;
    had_host_ = false;
    held_.clear();
    note(Sender::controller, Line_record::Kind::connection);
    return {};
}

void Line_tap::close_ends()
{
    link_.remove();
    host_.close();
    device_.close();
}

void Line_tap::run()
{
    while (!is_to_stop_) {
        if (device_.is_open())
            pass();
        else if (open_ends().isEmpty() && make_link().isEmpty())
            continue; // what is there already is no news
        if (!held_.empty() && host_.has_host())
            note_host();
        wait(patience_ms());
    }
    if (device_.is_open())
        pass();
}

/// How long to wait for news; -1 for as long as it takes.
int Line_tap::patience_ms() const
{
    if (!to_device_.empty() || !to_host_.empty())
        return write_again_ms;
    return !device_.is_open() || !held_.empty() ? look_again_ms : -1;
}

void Line_tap::wait(int timeout_ms)
{
    epoll_event events[4];
    const int count = epoll_wait(poll_, events, std::size(events), timeout_ms);
    for (int i = 0; i < count; ++i) {
        host_has_news_ = host_has_news_ || events[i].data.fd == host_.descriptor();
        device_has_news_ = device_has_news_ || events[i].data.fd == device_.descriptor();
    }
}

/// One read of one side, then one of the other, until neither has more: a flood on one side keeps
/// nothing of the other's waiting.
void Line_tap::pass()
{
    bool more = false;
    do {
        more = pass_from_device();
        if (device_.is_open())
            more = pass_from_host() || more;
    } while (more && device_.is_open() && !is_to_stop_);
}

/// Whether there may be more.
bool Line_tap::pass_from_host()
{
    if (!write_to_device() || !host_has_news_)
        return false;
    int count = 0;
    switch (host_.read(to_device_.bytes.data(), static_cast<int>(to_device_.bytes.size()), count)) {
    case Host_terminal::Found::nothing:
        host_has_news_ = false;
        return false;
    case Host_terminal::Found::closed:
        host_has_news_ = false;
        host_closed();
        return false;
    case Host_terminal::Found::settings:
        if (host_.has_host()) // forgetting what was not read is news as well
            note_host();
        follow_settings();
        return true;
    case Host_terminal::Found::bytes:
        break;
    }
    const qint64 now_us = clock_.now_us();
    to_device_.begin = 0;
    to_device_.end = count;
    const bool is_written = write_to_device();
    note_host();
    note_bytes(Sender::host, to_device_.bytes.data(), count, now_us);
    return is_written;
}

/// Whether there may be more.
bool Line_tap::pass_from_device()
{
    if (!write_to_host() || !device_has_news_)
        return false;
    const ssize_t count =
        ::read(device_.descriptor(), to_host_.bytes.data(), to_host_.bytes.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        device_has_news_ = errno == EINTR;
        return device_has_news_;
    }
    if (count <= 0) {
        device_lost();
        return false;
    }
    const qint64 now_us = clock_.now_us();
    to_host_.begin = 0;
    to_host_.end = static_cast<int>(count);
    if (has_host_ || host_.has_host())
        note_host();
    else
        hold(to_host_.bytes.data(), static_cast<std::size_t>(count));
    const bool is_written = write_to_host();
    note_bytes(Sender::controller, to_host_.bytes.data(), static_cast<int>(count), now_us);
    return is_written;
}

/// Whether nothing waits any more.
bool Line_tap::write_to_device()
{
    if (write(device_.descriptor(), to_device_))
        return true;
    if (errno != EAGAIN)
        device_lost();
    return false;
}

/// Whether nothing waits any more. Without a host nothing does.
bool Line_tap::write_to_host()
{
    if (has_host_ && !write(host_.descriptor(), to_host_) && errno == EAGAIN)
        return false;
    to_host_.begin = to_host_.end;
    return true;
}

/// Writes what is taken; whether that is all. Else errno says why.
bool Line_tap::write(int descriptor, Pending& pending)
{
    while (!pending.empty()) {
        const ssize_t count = ::write(descriptor, pending.bytes.data() + pending.begin,
                                      static_cast<std::size_t>(pending.end - pending.begin));
        if (count == 0)
            errno = EAGAIN;
        if (count > 0)
            pending.begin += static_cast<int>(count);
        else if (errno != EINTR)
            return false;
    }
    return true;
}

void Line_tap::note(Sender sender, Line_record::Kind kind)
{
    Line_record record;
    record.time_us = clock_.now_us();
    record.sender = sender;
    record.kind = kind;
    seen_.put(record);
}

void Line_tap::note_bytes(Sender sender, const char* bytes, int count, qint64 time_us)
{
    Line_record record;
    record.time_us = time_us;
    record.sender = sender;
    record.data = reinterpret_cast<const uchar*>(bytes);
    record.size = count;
    bytes_[static_cast<std::size_t>(sender)] += static_cast<quint64>(count);
    seen_.put(record);
}

/// Something shows that a host has the pseudo terminal open.
void Line_tap::note_host()
{
    if (has_host_)
        return;
    has_host_ = true;
    if (lines_dropped_)
        device_.set_modem_lines(true);
    lines_dropped_ = false;
    had_host_ = true;
    // A new pseudo terminal has room for all of it.
    (void)!::write(host_.descriptor(), held_.data(), held_.size());
    held_.clear();
    note(Sender::host, Line_record::Kind::connection);
}

/// Bytes that no host hears, or only the first one.
void Line_tap::hold(const char* bytes, std::size_t count)
{
    if (had_host_) {
        unheard_bytes_ += count;
        return;
    }
    held_.insert(held_.end(), bytes, bytes + count);
    if (held_.size() <= most_held)
        return;
    const std::size_t surplus = held_.size() - most_held;
    held_.erase(held_.begin(), held_.begin() + static_cast<std::ptrdiff_t>(surplus));
    unheard_bytes_ += surplus;
}

void Line_tap::follow_settings()
{
    const termios settings = host_.settings();
    device_.follow(settings);
    speed_ = cfgetospeed(&settings);
}

void Line_tap::host_closed()
{
    if (!has_host_)
        return;
    has_host_ = false;
    to_host_.begin = to_host_.end;
    host_.forget_unread();
    lines_dropped_ = (host_.settings().c_cflag & HUPCL) != 0;
    if (lines_dropped_)
        device_.set_modem_lines(false);
    note(Sender::host, Line_record::Kind::hang_up);
}

void Line_tap::device_lost()
{
    has_device_ = false;
    const bool had_host = has_host_.exchange(false);
    close_ends();
    to_host_.begin = to_host_.end;
    to_device_.begin = to_device_.end;
    held_.clear();
    note(Sender::controller, Line_record::Kind::hang_up);
    if (had_host)
        note(Sender::host, Line_record::Kind::hang_up);
}
