#include "Recording_writer.h"

#include "Pcapng_writer.h"
#include "Signal_free_thread.h"
#include "Text_writer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <utility>

#include <poll.h>

namespace {

/// By how much the wall clock is off when it has been set, and not just corrected.
constexpr qint64 clock_step_us = 100000;

/// How much is written at once, in bytes.
constexpr qsizetype batch_bytes = 256 * 1024;

} // namespace

/// What the thread works on.
class Recording_writer::Work {
public:
    explicit Work(Order order) : order_(std::move(order)), buffer_(order_.buffer) {}

    QString open()
    {
        QString error = file_.open(order_.path, order_.rotation);
        if (error.isEmpty())
            begin();
        return error;
    }

    void take(int descriptor)
    {
        file_.take(descriptor, order_.path);
        begin();
    }

    void put(const Line_record& record) { buffer_.put(record); }
    quint64 dropped() const { return buffer_.dropped() + unwritten_; }
    bool has_lost_reader() const { return lost_reader_; }

    void finish()
    {
        is_to_end_ = true;
        buffer_.wake();
    }

    bool wait(std::chrono::milliseconds timeout)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return ended_condition_.wait_for(lock, timeout, [this] { return ended_; });
    }

    bool has_ended()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return ended_;
    }

    void run()
    {
        Record_batch batch;
        do {
            pollfd news = {buffer_.descriptor(), POLLIN, 0};
            if (!is_to_end_)
                (void)poll(&news, 1, -1);
            buffer_.take(batch);
            write(batch);
        } while (!is_to_end_ || !batch.empty());
        const std::lock_guard<std::mutex> lock(mutex_);
        ended_ = true;
        ended_condition_.notify_all();
    }

private:
    QByteArray header()
    {
        written_clock_us_ = order_.wall_clock_us();
        return order_.format == Format::pcapng ? Pcapng_writer::header()
                                               : Text_writer::header(written_clock_us_);
    }

    QByteArray block(const Line_record& record)
    {
        if (order_.format == Format::pcapng)
            return Pcapng_writer::packet(record, clock_us_ + record.time_us);
        if (std::abs(clock_us_ - written_clock_us_) < clock_step_us)
            return Text_writer::line(record);
        written_clock_us_ = clock_us_;
        return Text_writer::beginning(clock_us_) + Text_writer::line(record);
    }

    void write(const Record_batch& batch)
    {
        clock_us_ = order_.wall_clock_us();
        QByteArray blocks;
        quint64 records = 0;
        const auto flush = [&] {
            append(blocks, records);
            blocks.clear();
            records = 0;
        };
        for (std::size_t at = 0; at < batch.size(); ++at) {
            const Line_record record = batch[at];
            QByteArray next = block(record);
            if (file_.is_full_for(blocks.size() + next.size())) {
                flush();
                if (has_records_)
                    rotate();
            }
            if (records++ == 0)
                blocks = mark_of_gap(record);
            blocks += next;
            if (blocks.size() >= batch_bytes)
                flush();
        }
        flush();
    }

    /// Before the first record after some that could not be written.
    QByteArray mark_of_gap(const Line_record& next)
    {
        if (gap_ == 0)
            return {};
        Line_record mark;
        mark.time_us = next.time_us;
        mark.sender = next.sender;
        mark.kind = Line_record::Kind::gap;
        mark.missing = gap_;
        return block(mark);
    }

    void append(const QByteArray& blocks, quint64 records)
    {
        if (blocks.isEmpty())
            return;
        const QString error = lost_reader_       ? last_error_
                              : file_.is_empty() ? file_.append(header() + blocks)
                                                 : file_.append(blocks);
        note(error);
        if (error.isEmpty()) {
            gap_ = 0;
            has_records_ = true;
            return;
        }
        gap_ += records;
        unwritten_ += records;
        written_clock_us_ = 0; // it may have been in what is lost
    }

    /// A reader that comes early finds a recording without records.
    void begin() { note(file_.append(header())); }

    void rotate()
    {
        const QString error = file_.rotate();
        note(error);
        if (!error.isEmpty())
            return;
        has_records_ = false;
        begin();
    }

    void note(const QString& error)
    {
        lost_reader_ = file_.has_lost_reader();
        if (std::exchange(last_error_, error).isEmpty() && !error.isEmpty() && order_.complain)
            order_.complain(error);
    }

    const Order order_;
    Record_buffer buffer_;
    Recording_file file_;
    std::atomic<bool> is_to_end_{false};
    std::atomic<bool> lost_reader_{false};
    std::atomic<quint64> unwritten_{0};
    quint64 gap_ = 0; ///< records before the next that could not be written
    qint64 clock_us_ = 0;
    qint64 written_clock_us_ = 0; ///< the wall clock that the recording has
    bool has_records_ = false;    ///< the present file, besides its beginning
    QString last_error_;          ///< empty when the last thing could be written

    std::mutex mutex_;
    std::condition_variable ended_condition_;
    bool ended_ = false;
};

Recording_writer::~Recording_writer()
{
    end();
}

QString Recording_writer::open(const Order& order)
{
    auto work = std::make_shared<Work>(order);
    QString error = work->open();
    if (error.isEmpty())
        start(std::move(work));
    return error;
}

void Recording_writer::take(int descriptor, const Order& order)
{
    auto work = std::make_shared<Work>(order);
    work->take(descriptor);
    start(std::move(work));
}

void Recording_writer::start(std::shared_ptr<Work> work)
{
    work_ = std::move(work);
    signal_free_thread([shared = work_] { shared->run(); }).detach();
}

void Recording_writer::write(const Line_record& record)
{
    if (work_ != nullptr)
        work_->put(record);
}

quint64 Recording_writer::dropped() const
{
    return work_ == nullptr ? 0 : work_->dropped();
}

bool Recording_writer::has_lost_reader() const
{
    return work_ != nullptr && work_->has_lost_reader();
}

void Recording_writer::finish()
{
    if (work_ != nullptr)
        work_->finish();
}

bool Recording_writer::has_finished() const
{
    return work_ == nullptr || work_->has_ended();
}

bool Recording_writer::end(int timeout_ms)
{
    if (work_ == nullptr)
        return true;
    work_->finish();
    const bool in_time = work_->wait(std::chrono::milliseconds(timeout_ms));
    const bool all = in_time && work_->dropped() == 0;
    work_.reset();
    return all;
}
