#include "Host_end.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <numeric>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

char sum_of(const QByteArray& bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), char(0),
                           [](char sum, char byte) { return static_cast<char>(sum + byte); });
}

} // namespace

Host_end::~Host_end()
{
    close();
}

bool Host_end::open(const QString& device)
{
    const int descriptor =
        ::open(QFile::encodeName(device).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    termios settings{};
    tcgetattr(descriptor, &settings);
    cfmakeraw(&settings);
    tcsetattr(descriptor, TCSANOW, &settings);
    take(descriptor);
    return true;
}

void Host_end::take(int descriptor)
{
    close();
    descriptor_ = descriptor;
    hung_up_ = false;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, &Host_end::read_some);
}

void Host_end::close()
{
    notifier_.reset();
    if (descriptor_ >= 0)
        ::close(descriptor_);
    descriptor_ = -1;
}

void Host_end::send(const QByteArray& hex)
{
    QByteArray frame = QByteArray("\x18\xEF\x78\x59") + QByteArray::fromHex(hex);
    frame.append(12 - frame.size(), '\0');
    send_bytes(frame.append(sum_of(frame)));
}

void Host_end::send_bytes(const QByteArray& bytes)
{
    if (::write(descriptor_, bytes.constData(), static_cast<std::size_t>(bytes.size())) !=
        bytes.size())
        report::give_up("the controller does not take " + bytes.toHex());
}

QVector<QByteArray> Host_end::messages() const
{
    QVector<QByteArray> result;
    for (int at = 0; at + 13 <= bytes_.size();) {
        const QByteArray frame = bytes_.mid(at, 13);
        if (!frame.startsWith("\x18\xEF\x59\x78") || sum_of(frame.left(12)) != frame[12]) {
            ++at;
            continue;
        }
        QByteArray message = frame.mid(4, 8);
        while (message.size() > 1 && message.endsWith('\0'))
            message.chop(1);
        result.append(message.toHex());
        at += 13;
    }
    return result;
}

int Host_end::count(const char* id) const
{
    const auto all = messages();
    return static_cast<int>(std::count_if(all.begin(), all.end(), [id](const QByteArray& message) {
        return message.startsWith(id);
    }));
}

void Host_end::testify()
{
    if (descriptor_ < 0)
        return;
    report::tell("messages to the host", messages().toList().join('\n'));
    if (hung_up_)
        report::tell("the host's end of the line", "the controller has hung up");
}

void Host_end::read_some()
{
    char bytes[4096];
    const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
    if (count > 0) {
        bytes_.append(bytes, static_cast<int>(count));
    } else if (count == 0 || errno != EAGAIN) {
        hung_up_ = true;
        notifier_->setEnabled(false);
    }
}
