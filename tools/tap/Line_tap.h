#pragma once

#include "Device_link.h"
#include "Host_terminal.h"
#include "Line_clock.h"
#include "Record_buffer.h"
#include "Serial_device.h"

#include <QString>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

/// Stands between a serial device and its host: every byte that comes from one side goes to the
/// other, unchanged and at once, in a thread that does nothing else. Others hear of it by records,
/// behind it.
///
/// What one side does not take is not read from the other: it waits where it would wait without a
/// tap. Without a host the device's bytes are read and dropped, as by a port that nobody has open;
/// only the newest of those that come before the first host wait for it, as in a pseudo terminal.
///
/// A device that goes away hangs up on the host and takes the link with it; when its path can be
/// opened again, the link leads to a new pseudo terminal.
class Line_tap {
public:
    /// How often a device that is gone is looked for, and the first host.
    static constexpr int look_again_ms = 100;

    /// How many bytes wait for the first host, as many as a terminal keeps for its reader.
    static constexpr std::size_t most_held = 4096;

    /// `seen` takes what passes; both have to outlive this.
    Line_tap(const Line_clock& clock, Record_buffer& seen) : clock_(clock), seen_(seen) {}
    ~Line_tap() { stop(); }
    Line_tap(const Line_tap&) = delete;
    Line_tap& operator=(const Line_tap&) = delete;

    /// Opens the device. Returns an error's text, or nothing.
    QString open(const QString& device, const QString& link);

    /// Of the device that has been opened.
    int device_descriptor() const { return device_.descriptor(); }

    /// Makes the link and begins. Returns an error's text, or nothing.
    QString start();

    /// Ends: what has been read is passed on, the host sees a hang-up, the link is gone and the
    /// device has its settings back.
    void stop();

    /// Whether the device is there, and whether a host has the pseudo terminal open. Any thread.
    bool has_device() const { return has_device_; }
    bool has_host() const { return has_host_; }

    /// The code of the speed that the device has, as in termios. Any thread.
    speed_t speed() const { return speed_; }

    /// How many bytes have come from a side. Any thread.
    quint64 bytes_from(Sender sender) const { return bytes_[static_cast<std::size_t>(sender)]; }

    /// How many of the device's bytes came while there was no host. Any thread.
    quint64 unheard_bytes() const { return unheard_bytes_; }

private:
    /// Bytes that are on their way to one side.
    struct Pending {
        std::array<char, 4096> bytes;
        int begin = 0;
        int end = 0;

        bool empty() const { return begin == end; }
    };

    QString open_ends();
    QString make_link();
    void close_ends();
    void run();
    void wait(int timeout_ms);
    void pass();
    bool pass_from_host();
    bool pass_from_device();
    bool write_to_device();
    bool write_to_host();
    static bool write(int descriptor, Pending& pending);
    void note(Sender sender, Line_record::Kind kind);
    void note_bytes(Sender sender, const char* bytes, int count, qint64 time_us);
    void note_host();
    void hold(const char* bytes, std::size_t count);
    int patience_ms() const;
    void follow_settings();
    void host_closed();
    void device_lost();

    const Line_clock& clock_;
    Record_buffer& seen_;
    QString device_path_;
    QString link_path_;
    Serial_device device_;
    Host_terminal host_;
    Device_link link_;
    Pending to_device_;
    Pending to_host_;
    std::vector<char> held_;       ///< for the first host
    bool had_host_ = false;        ///< since the device was opened
    bool host_has_news_ = false;   ///< until a read finds nothing
    bool device_has_news_ = false; ///< until a read finds nothing
    bool lines_dropped_ = false;
    int poll_ = -1;
    int stop_news_ = -1;
    std::thread thread_;
    std::atomic<bool> is_to_stop_{false};
    std::atomic<bool> has_device_{false};
    std::atomic<bool> has_host_{false};
    std::atomic<speed_t> speed_{0};
    std::array<std::atomic<quint64>, 2> bytes_{};
    std::atomic<quint64> unheard_bytes_{0};
};
