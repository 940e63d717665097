#include "DBus_daemon.h"

#include "Bus_names.h"
#include "Console.h"
#include "Dispatch.h"
#include "Interface_base.h"
#include "Named_field.h"
#include "Object_table.h"
#include "Paths.h"
#include "Periodic_poll.h"
#include "Poll.h"
#include "Power_controller_interface.h"
#include "Reader_patience.h"
#include "Shell.h"

#include <QFile>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

DBus_daemon* the_daemon = nullptr;

namespace {

constexpr unsigned int default_baud_rate = 115200;
constexpr int digest_interval = 2; ///< 100 ms, in the units of the digest request

constexpr U8_field power_setting = {Message_id::power_setting, "setting"};
constexpr U8_field interval = {Message_id::digest_request, "interval"};
constexpr int digest_requests = 3;

/// The signal handler writes each signal's number, one byte, to the second; the event loop reads
/// the first. Both live until the process ends.
int quit_pipe[2] = {-1, -1};

} // namespace

DBus_daemon::DBus_daemon(int& count, char** arguments)
    : QCoreApplication(count, arguments),
      count_(count),
      arguments_(arguments),
      options_{paths().controller_port, default_baud_rate},
      power_config_(std::make_unique<Power_config>()),
      oem_profile_(std::make_unique<OEM_profile>()),
      log_("orb-dbus", 0, LOG_DAEMON, false)
{
    // QCoreApplication takes the locale from the environment; "%f" prints a point everywhere.
    std::setlocale(LC_NUMERIC, "C");
    std::copy(std::begin(default_state_timeouts), std::end(default_state_timeouts),
              std::begin(state_timeouts_));
    watch_quit_signals();
    log() << "=============== Starting =================" << std::endl;
    load_configuration();
}

DBus_daemon::~DBus_daemon() = default;

void DBus_daemon::load_configuration()
{
    if (load_power_config(power_config_->document, paths().power_config) != config_loaded) {
        power_config_.reset();
    } else {
        for (int state = 0; state < power_state_count; ++state) {
            state_timeouts_[state] =
                get_state_timeout(power_config(), state, default_state_timeouts[state]);
            log() << "Timeout for " << power_state_name(state) << " is " << state_timeouts_[state]
                  << std::endl;
        }
    }

    if (load_oem_profile(oem_profile_->document, paths().oem_profile) != config_loaded) {
        oem_profile_.reset();
    } else {
        const QDomDocument* document = oem_profile_->document.get();
        oem_code_ = get_oem_code(document, default_oem_code);
        remote_power_up_delay_ = get_remote_switch_power_up_time(document, default_power_up_time);
        log() << "Configured OEM code for this system is " << int{oem_code_} << std::endl;
    }
}

void DBus_daemon::run()
{
    const auto handler = [this](const char* name, const char* value) {
        return handle_option(name, value);
    };
    if (!walk_options(count_, arguments_, handler))
        return;
    bus_.start(QLatin1String(service_name));
    open_link();
    connect(this, &QCoreApplication::aboutToQuit, this, &DBus_daemon::handle_quit);
    create_objects(this);
    log_bus_connection();
    dump_interfaces();
    send_start_up_commands();
    start_periodic_poll();
    make_power_timer();
    set_power_state(state_on);
    request_digest();
    exec();
}

bool DBus_daemon::handle_option(const char* name, const char* value)
{
    return take_link_option(name, value, options_, [this] { print_usage(); });
}

void DBus_daemon::print_usage() const
{
    print_option_usage(arguments_[0]);
}

void DBus_daemon::add_object(Interface_base* object)
{
    objects_.append(object);
}

void DBus_daemon::open_link()
{
    set_link(new Power_controller_interface);
    link_->open(options_.port);
    link_->set_baud(static_cast<int>(std::min<quint32>(options_.baud_rate, INT_MAX)));
    connect(link_, &Power_controller_interface::handle_packet, this, &DBus_daemon::handle_packet);
}

void DBus_daemon::log_bus_connection()
{
    log() << "orb-dbus connect name: " << bus_.name().toUtf8().constData() << std::endl;
    log() << "orb-dbus connect base: " << bus_.base_service().toUtf8().constData() << std::endl;
}

void DBus_daemon::dump_interfaces() const
{
    const Console_batch batch;
    for (const Interface_base* object : objects_)
        object->dump_interface();
}

void DBus_daemon::send_start_up_commands()
{
    link_->send_message(Message_id::start_up);
    link_->send_message(message_with(power_setting.is(Power_setting::start_up)));
    link_->send_message(Message_id::firmware_version_request);
    link_->send_message(Message_id::hardware_version_request);
}

void DBus_daemon::start_periodic_poll()
{
    set_firmware_detection_done(false);
    send_periodic_cmds();
    periodic_timer_ = new QTimer(this);
    periodic_timer_->setTimerType(Qt::PreciseTimer);
    connect(periodic_timer_, &QTimer::timeout, this, &DBus_daemon::send_periodic_cmds);
    periodic_timer_->start(poll_period_ms);
}

void DBus_daemon::make_power_timer()
{
    power_timer_ = new QTimer(this);
    power_timer_->setTimerType(Qt::PreciseTimer);
    power_timer_->setSingleShot(true);
    connect(power_timer_, &QTimer::timeout, this, &DBus_daemon::handle_power_timeout);
}

void DBus_daemon::request_digest()
{
    for (int i = 0; i < digest_requests; ++i)
        link_->send_message(message_with(interval.is(digest_interval)));
}

bool DBus_daemon::begin_exit()
{
    const QMutexLocker locker(&exit_mutex_);
    const bool first = exiting_ == 0;
    exiting_ = 1;
    return first;
}

bool DBus_daemon::is_exiting()
{
    const QMutexLocker locker(&exit_mutex_);
    return exiting_ != 0;
}

void DBus_daemon::exit_daemon()
{
    if (!begin_exit())
        return;
    log() << "=============== Exiting =================" << std::endl;
    if (link_ != nullptr)
        link_->close();
    quit();
}

void DBus_daemon::watch_quit_signals()
{
    if (pipe2(quit_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("no pipe for the signals: %s", std::strerror(errno));
    Reader_patience::interrupt_on(quit_pipe[0]);
    quit_notifier_ = new QSocketNotifier(quit_pipe[0], QSocketNotifier::Read, this);
    connect(quit_notifier_, &QSocketNotifier::activated, this, &DBus_daemon::handle_quit_signals);
}

void DBus_daemon::quit_signal_handler(int signal)
{
    const int interrupted_errno = errno;
    const auto number = static_cast<char>(signal);
    (void)!::write(quit_pipe[1], &number, 1);
    errno = interrupted_errno;
}

void DBus_daemon::handle_quit_signals()
{
    Reader_patience::end();
    char number = 0;
    while (::read(quit_pipe[0], &number, 1) == 1) {
        Console::out().format("\nQuit signal got %d\n", int{number});
        the_daemon->exit_daemon();
    }
}

Logger::OStream& DBus_daemon::log()
{
    return log_.stream(LOG_INFO);
}

const QDomDocument* DBus_daemon::power_config() const
{
    return power_config_ == nullptr ? nullptr : power_config_->document.get();
}

void DBus_daemon::set_power_state(int state)
{
    if (state == power_state_)
        return;
    log() << "Switching power state: " << power_state_name(power_state_) << "=>"
          << power_state_name(state) << std::endl;
    for (Interface_base* object : std::as_const(objects_))
        object->power_state_changed(state);
    start_power_timer(state);
    if (state == state_low_power)
        QFile::remove(QFile::decodeName(paths().input_activity));
    else if (state == state_sleep)
        run_in_shell(paths().poweroff);
    power_state_ = state;
}

/// Starts the timer with the state's time-out, as long as a timer can run, or stops it.
void DBus_daemon::start_power_timer(int state)
{
    if (power_timer_ == nullptr)
        return;
    power_timer_->stop();
    const bool has_timeout = state >= 0 && state < power_state_count && state_timeouts_[state] >= 0;
    if (has_timeout)
        power_timer_->start(
            static_cast<int>(std::min(qint64{state_timeouts_[state]} * 1000, qint64{INT_MAX})));
}

void DBus_daemon::ignition_changed(bool on)
{
    log() << "Ignition changed: " << (on ? "on" : "off") << std::endl;
    set_power_state(on ? state_on : state_low_power);
}

void DBus_daemon::handle_packet(const unsigned char* buf, uint len)
{
    dispatch(devices_, buf, len);
}

void DBus_daemon::send_periodic_cmds()
{
    if (is_exiting())
        return;
    Console::out() << "Periodic\n";
    Periodic_poll(*this).run();
}

void DBus_daemon::handle_quit()
{
    Console::out() << "Quiting\n";
    bus_.leave_main_thread();
    devices_ = {};
    while (!objects_.isEmpty())
        delete objects_.takeFirst();
    bus_.finish();
}

void DBus_daemon::handle_power_timeout()
{
    log() << "Timeout in state " << power_state_name(power_state_) << std::endl;
    if (power_state_ == state_low_power)
        set_power_state(state_sleep);
}

void DBus_daemon::handle_check_touch_timeout()
{
    const QString marker = QFile::decodeName(paths().input_activity);
    if (!QFile::exists(marker)) {
        Console::out() << "no-activity\n";
        return;
    }
    if (power_state_ == state_low_power)
        set_power_state(state_on);
    QFile::remove(marker);
    log() << "Touch activity " << std::endl;
    Console::out() << "activity\n";
}
