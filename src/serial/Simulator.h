#pragma once

#include "Command_line.h"
#include "Power_controller_interface.h"
#include "Simulator_backlog.h"

#include <QCoreApplication>

#include <array>
#include <memory>

/// Plays the power-management controller's side of the protocol on a serial port of its own, so
/// that the daemon runs without the hardware.
///
/// Answers digital output commands and, once asked for the digest, reports generated inputs. Its
/// link is the host's: its frames carry the host's addresses, which both ends report and accept,
/// and each report waits 300 ms for an answer that never comes, so that no more than one report
/// goes out in that time. Every digest request adds one more timer, and none is ever stopped.
///
/// What waits for the line has no limit. Beyond 10000 messages it waits in a backlog, in which
/// reports in a row are a number: the line carries the same messages in the same order as with one
/// long queue, and a timer that fires on every turn of the event loop does not fill the memory.
class Simulator : public QCoreApplication {
    Q_OBJECT
public:
    /// `count` has to live as long as the simulator.
    Simulator(int& count, char** arguments);

    /// Walks the options, opens the simulator's port, whatever they say, at 115200 baud and runs
    /// the event loop. Returns at once when a bare word stands in the place of an option or the
    /// baud rate is 0.
    void run();

    /// Takes one option: help, port, baudrate, simulate; another prints the usage. False for a
    /// baud rate of 0.
    bool handle_option(const char* name, const char* value);

public Q_SLOTS:
    /// Handles every request that has arrived.
    void handle_read();

    /// Reports the inputs of the next tick.
    void handle_timeout();

private:
    void handle_request(const uchar* request, uint length);
    void set_outputs(uchar fields);
    void start_digest(int interval_ms);
    void send_due();

    int count_;
    char** arguments_;
    std::unique_ptr<Power_controller_interface> link_;
    Link_options options_{}; ///< taken, and without effect
    std::array<bool, 4> outputs_{};
    Simulator_backlog backlog_;
};
