#pragma once

#include "Command_line.h"
#include "Power_controller_interface.h"

#include <QCoreApplication>

#include <array>
#include <memory>

/// Plays the power-management controller's side of the protocol on a serial port of its own, so
/// that the daemon runs without the hardware.
///
/// Answers digital output commands and, once asked for the digest, reports generated inputs. Its
/// link is the host's: its frames carry the host's addresses, which both ends report and accept,
/// and each report waits 300 ms for an answer that never comes, so that no more than one report
/// goes out in that time. Both are deliberate. Every digest request adds one more timer, and none
/// is ever stopped.
class Simulator : public QCoreApplication {
    Q_OBJECT
public:
    /// `count` has to live as long as the simulator. `path` is the port that run() opens, whatever
    /// the options say; it has to live as well.
    Simulator(int& count, char** arguments, const char* path);

    /// Walks the options, opens the port at 115200 baud and runs the event loop. Returns at once
    /// when a bare word stands in the place of an option or the baud rate is 0.
    void run();

    /// Takes one option: help, port, baudrate, simulate; another prints the usage. False for a
    /// baud rate of 0.
    bool handle_option(const char* name, const char* value);

public Q_SLOTS:
    /// Handles every request that has arrived.
    void handle_read();

    /// Reports the inputs of the next tick, unless 10000 messages wait already: the next tick is
    /// reported when there is room, so that the line carries the same reports.
    void handle_timeout();

private:
    void handle_request(const uchar* request, uint length);
    void set_outputs(uchar fields);
    void start_digest(int interval_ms);

    int count_;
    char** arguments_;
    const char* path_;
    std::unique_ptr<Power_controller_interface> link_;
    Link_options options_{}; ///< taken, and without effect
    std::array<bool, 4> outputs_{};
};
