#pragma once

#include "Bus_connection.h"
#include "Command_line.h"
#include "Device_objects.h"
#include "Logger.h"
#include "OEM_profile.h"
#include "Power_config.h"
#include "Power_state.h"

#include <QCoreApplication>
#include <QList>
#include <QMutex>

#include <memory>

class Interface_base;
class Power_controller_interface;
class QSocketNotifier;
class QTimer;

/// The daemon: the link to the controller, the objects on the bus, the power policy and the life
/// from start-up to exit.
///
/// Thread: main, but for quit_signal_handler(), begin_exit() and is_exiting().
class DBus_daemon : public QCoreApplication {
    Q_OBJECT
public:
    /// Opens the log and reads both configuration files. `count` has to live as long as the
    /// daemon.
    DBus_daemon(int& count, char** arguments);
    ~DBus_daemon() override;

    /// Walks the options, opens the link, publishes the objects, enters power state "on" and runs
    /// the event loop. Returns at once when an option stops the start.
    void run();

    /// Takes one option: help, port, baudrate; another prints the usage. False for a baud rate
    /// of 0.
    bool handle_option(const char* name, const char* value);

    void print_usage() const;

    /// Appends to the list of objects, which owns it from then on.
    void add_object(Interface_base* object);

    /// Whether this call is the first; from then on the daemon is exiting.
    bool begin_exit();

    bool is_exiting();

    /// Logs the exit, closes the link and ends the event loop, once.
    void exit_daemon();

    /// Takes note of a signal that asks to quit; the event loop, when it runs, prints and exits.
    /// Does nothing but write to a descriptor (signal-safety(7)). Thread: any.
    static void quit_signal_handler(int signal);

    /// Prints each of those signals, in the order in which they came, and exits by the first. The
    /// event loop does it; what comes behind its end is left for a last call.
    void handle_quit_signals();

    /// Makes the timer of the states' time-outs; until then no state has one. run() does it.
    void make_power_timer();

    /// Switches the power state: tells every object, starts the state's time-out and, for
    /// "sleep", switches the terminal off. Without effect in the same state.
    void set_power_state(int state);

    /// Switches to "on" or to "low-power". Nothing in the daemon calls it.
    void ignition_changed(bool on);

    // What the objects and the periodic poll use of their owner.

    /// The log, set to informational messages.
    Logger::OStream& log();

    /// The link; null before run() has created it.
    Power_controller_interface* link() const { return link_; }
    void set_link(Power_controller_interface* link) { link_ = link; }

    /// Where the objects are published.
    Bus_connection& bus() { return bus_; }

    /// Null when there is no loaded power configuration.
    const QDomDocument* power_config() const;

    Device_objects& devices() { return devices_; }
    const Device_objects& devices() const { return devices_; }

    /// The profile's OEM code and remote power-up delay, in the controller's units; without a
    /// profile unknown_oem_code and unknown_power_up_time.
    uchar oem_code() const { return oem_code_; }
    uchar remote_power_up_delay() const { return remote_power_up_delay_; }

    /// Whether the controller's firmware generation has been found out.
    bool firmware_detection_done() const { return firmware_detection_done_ != 0; }
    void set_firmware_detection_done(bool done) { firmware_detection_done_ = done; }

public Q_SLOTS:
    /// Hands a message of the controller to the objects it concerns.
    void handle_packet(const unsigned char* buf, uint len);

    /// Polls the controller and finds out its generation; nothing while exiting.
    void send_periodic_cmds();

    /// Deletes all objects in the order of their creation.
    void handle_quit();

    /// The power state's time is over: "low-power" becomes "sleep".
    void handle_power_timeout();

    /// Looks for the marker of a touched screen, which takes "low-power" back to "on". Nothing in
    /// the daemon calls it.
    void handle_check_touch_timeout();

private:
    void load_configuration();
    void open_link();
    void log_bus_connection();
    void dump_interfaces() const;
    void send_start_up_commands();
    void start_periodic_poll();
    void request_digest();
    void watch_quit_signals();
    void start_power_timer(int state);

    int count_;
    char** arguments_;
    Link_options options_;
    Power_controller_interface* link_ = nullptr;
    Bus_connection bus_;
    QList<Interface_base*> objects_;
    Device_objects devices_;
    QTimer* periodic_timer_ = nullptr;
    std::unique_ptr<Power_config> power_config_; ///< null when it could not be loaded
    qint32 power_state_ = state_none;
    qint32 state_timeouts_[power_state_count]; ///< seconds, negative for none
    QTimer* power_timer_ = nullptr;
    std::unique_ptr<OEM_profile> oem_profile_; ///< null when it could not be loaded
    quint8 firmware_detection_done_ = 0;
    quint8 oem_code_ = unknown_oem_code;
    quint8 remote_power_up_delay_ = unknown_power_up_time; ///< until a profile supplies one
    Logger::Channel log_;
    QMutex exit_mutex_;
    quint32 exiting_ = 0;
    QSocketNotifier* quit_notifier_ = nullptr;
};

/// The process's daemon, null until the entry point has made it.
extern DBus_daemon* the_daemon;
