#include "Text_output.h"

#include "Signal_free_thread.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>

#include <unistd.h>

namespace {

constexpr int most_waiting = 1 << 20; ///< bytes
constexpr std::chrono::milliseconds patience{500};

} // namespace

/// What the thread works on.
class Text_output::Work {
public:
    Work(int descriptor, std::function<void(const QString&)> complain)
        : descriptor_(descriptor), complain_(std::move(complain))
    {
    }

    void put(const QByteArray& text)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (waiting_.size() + text.size() > most_waiting) {
            ++left_out_;
            return;
        }
        if (left_out_ > 0)
            waiting_ += "(" + QByteArray::number(left_out_) + " lines left out)\n";
        left_out_ = 0;
        waiting_ += text + '\n';
        news_.notify_all();
    }

    void run()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!has_failed_) {
            news_.wait(lock, [this] { return is_to_end_ || !waiting_.isEmpty(); });
            if (waiting_.isEmpty())
                break;
            const QByteArray text = std::exchange(waiting_, {});
            lock.unlock();
            const bool is_written = write(text);
            lock.lock();
            has_failed_ = !is_written;
        }
        has_ended_ = true;
        ended_.notify_all();
    }

    void end()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        is_to_end_ = true;
        news_.notify_all();
        (void)ended_.wait_for(lock, patience, [this] { return has_ended_; });
    }

private:
    bool write(const QByteArray& text)
    {
        for (qsizetype done = 0; done < text.size();) {
            const ssize_t count = ::write(descriptor_, text.constData() + done,
                                          static_cast<std::size_t>(text.size() - done));
            if (count >= 0) {
                done += count;
            } else if (errno != EINTR) {
                complain_(QStringLiteral("standard output: ") +
                          QString::fromLocal8Bit(std::strerror(errno)));
                return false;
            }
        }
        return true;
    }

    const int descriptor_;
    const std::function<void(const QString&)> complain_;
    std::mutex mutex_;
    std::condition_variable news_;
    std::condition_variable ended_;
    QByteArray waiting_;
    quint64 left_out_ = 0;
    bool is_to_end_ = false;
    bool has_failed_ = false;
    bool has_ended_ = false;
};

Text_output::Text_output(int descriptor, const std::function<void(const QString&)>& complain)
    : work_(std::make_shared<Work>(descriptor, complain))
{
    signal_free_thread([shared = work_] { shared->run(); }).detach();
}

Text_output::~Text_output()
{
    work_->end();
}

void Text_output::line(const QByteArray& text)
{
    work_->put(text);
}
