#pragma once

#include "Line_event.h"

#include <QJsonObject>

#include <array>
#include <limits>
#include <vector>

/// Times, of which quantiles are asked: the least time that so many of a hundred do not exceed.
class Time_distribution {
public:
    /// `most`: how many are kept. Of more times than that each is as likely to be among those kept
    /// as any other; number and maximum are of all.
    void add(qint64 us, std::size_t most = std::numeric_limits<std::size_t>::max());

    std::size_t count() const { return count_; }
    /// In milliseconds; `percent` from 1 to 100. 0 without times.
    double quantile_ms(int percent) const;
    double most_ms() const;
    /// How many of those kept are in [from, to) milliseconds.
    std::size_t count_between(double from_ms, double to_ms) const;

private:
    void sort() const;

    std::size_t count_ = 0;
    qint64 most_us_ = 0;
    quint64 random_ = 1;
    mutable std::vector<qint64> times_us_;
    mutable bool is_sorted_ = true;
};

/// What is counted of a recording.
///
/// Frames are good ones. A broken frame is one checksum error and none of its bytes are skipped
/// ones. Requests are the host's frames; one without an answer within 300 ms is unanswered,
/// whether or not it is answered later.
///
/// Thread: any one.
class Line_statistics {
public:
    /// What is counted of one identifier.
    struct Kind_figures {
        quint64 count = 0;
        qint64 first_us = 0;
        qint64 last_us = 0;
        double mean_us = 0;     ///< of the time from one to the next
        double deviations = 0;  ///< sum of the squares of their distances from the mean
        quint64 unanswered = 0; ///< of requests
        Time_distribution response;
        Time_distribution late_response;

        double rate_per_s() const;
        double period_ms() const { return mean_us / 1000; }
        /// The standard deviation of the period.
        double jitter_ms() const;
    };

    /// `baud`: of the line, for its load. `most_times`: how many response times of each request
    /// are kept for their quantiles.
    explicit Line_statistics(uint baud,
                             std::size_t most_times = std::numeric_limits<std::size_t>::max())
        : baud_(baud), most_times_(most_times)
    {
    }

    void take(const Line_event& event);

    quint64 host_frames() const { return frames_[0]; }
    quint64 controller_frames() const { return frames_[1]; }
    quint64 checksum_errors() const { return checksum_errors_; }
    quint64 address_errors() const { return address_errors_; }
    quint64 skipped_bytes() const { return skipped_bytes_; }
    quint64 unknown_identifiers() const { return unknown_identifiers_; }
    quint64 hang_ups() const { return hang_ups_; }
    /// Of the recording, in its gaps.
    quint64 missing_records() const { return missing_records_; }
    quint64 unanswered() const;
    quint64 late_answers() const;
    double seconds() const;
    /// The share of the time, from 0 to 1, in which one side sends: ten bits a byte.
    double load(Sender sender) const;
    const Kind_figures& of(uchar id) const { return kinds_[id]; }
    /// All answers in time.
    const Time_distribution& response() const { return response_; }
    /// The interval that the last digest request asks for, in milliseconds; -1 without one.
    int digest_interval_ms() const { return digest_interval_ms_; }

    /// All of it; `answers` has the requests' identifiers, as "0x15", for names.
    QJsonObject to_json() const;

private:
    void take_frame(const Line_event& event);

    uint baud_;
    std::size_t most_times_;
    std::array<Kind_figures, 256> kinds_{};
    std::array<quint64, 2> frames_{}; ///< by Sender
    std::array<quint64, 2> bytes_{};  ///< by Sender
    quint64 checksum_errors_ = 0;
    quint64 address_errors_ = 0;
    quint64 skipped_bytes_ = 0;
    quint64 unknown_identifiers_ = 0;
    quint64 hang_ups_ = 0;
    quint64 missing_records_ = 0;
    qint64 last_us_ = 0;
    int digest_interval_ms_ = -1;
    Time_distribution response_;
};
