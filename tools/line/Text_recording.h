#pragma once

#include "Byte_source.h"
#include "Recording_reader.h"

#include <string_view>
#include <vector>

/// Reads a recording of lines: seconds since it began, "host" or "controller", bytes in
/// hexadecimal, and a comment behind "#".
///
///     #! began 2026-11-21T08:15:30.250Z        the wall clock at 0
///     1.204518 host       18ef78591100...      # hardware version request
///     #! 2.000100 hang-up controller           the line went away
///     #! 2.500000 connection controller        and came back
///     #! 3.000000 gap controller 17            so many records are missing
///
/// A line that begins with "#!" is for this program; others take it for a comment. One that says
/// what it does not know is passed over.
class Text_recording : public Recording_reader {
public:
    /// What one line holds at most, in bytes of the line.
    static constexpr int most_bytes = 65536;

    explicit Text_recording(std::unique_ptr<Byte_source> source);

    bool next(Line_record& record) override;

private:
    bool next_line(std::string_view& line);
    bool read_entry(std::string_view line, Line_record& record);
    bool read_directive(std::string_view line, Line_record& record);
    bool read_bytes(std::string_view line, std::size_t at, Line_record& record);
    bool fail(std::size_t at, const QString& text);
    bool is_in_order(qint64 time_us) const { return time_us >= last_us_; }

    std::unique_ptr<Byte_source> source_;
    std::vector<uchar> bytes_;
    int line_ = 0;
    bool ended_ = false;
    bool is_cut_ = false; ///< the last line has no end
    qint64 last_us_ = 0;
};
