#include "Periodic_poll.h"

#include "Configuration_interface.h"
#include "Console.h"
#include "DBus_daemon.h"
#include "Ignition_interface.h"
#include "Named_field.h"
#include "OEMprofile_interface.h"
#include "Poll.h"
#include "Power_controller_interface.h"
#include "Version_interface.h"

namespace {

constexpr U8_field setting = {Message_id::power_setting, "setting"};
constexpr U8_field setting_mode = {Message_id::power_setting, "mode"};
constexpr U8_field setting_with = {Message_id::power_setting, "with"};
constexpr Message line_15_setting =
    message_with(setting.is(Power_setting::line_15), setting_mode.is(remote_line_15_mode),
                 setting_with.is(line_15_setting_end));

bool is_known(const QString& version)
{
    return version != QLatin1String(unknown_version);
}

/// Ordered as texts: an unknown version is below every known one.
bool is_legacy_hardware(const QString& version)
{
    return version < QLatin1String("v2.0");
}

bool is_legacy_firmware(const QString& version)
{
    return version < QLatin1String("v2.0.0");
}

template <class Object>
Object* device(const DBus_daemon& daemon, Device_object object)
{
    return static_cast<Object*>(daemon.devices()[object]);
}

QString version(const DBus_daemon& daemon, Device_object object)
{
    QString text = QLatin1String(unknown_version);
    if (auto* published = device<Version_interface>(daemon, object))
        published->get(text);
    return text;
}

} // namespace

Periodic_poll::Periodic_poll(DBus_daemon& daemon) : daemon_(daemon), link_(*daemon.link())
{
}

void Periodic_poll::run()
{
    send_polls();
    const Versions versions = read_versions();
    request_missing(versions);
    const Configuration_byte byte = configuration_byte(versions);
    if (!is_detection_due(versions, byte))
        return;
    daemon_.set_firmware_detection_done(true);
    const bool legacy_firmware = is_legacy_firmware(versions.firmware);
    if (legacy_firmware || is_legacy_hardware(versions.hardware))
        correct_line_15(legacy_firmware);
    else
        correct_power_up_delay(byte.value);
}

void Periodic_poll::send_polls()
{
    for (const uchar poll : polled_requests)
        link_.send_message(poll);
}

Periodic_poll::Versions Periodic_poll::read_versions() const
{
    const Console_batch batch; // one write for the three texts
    Versions versions;
    versions.unique_id = version(daemon_, Device_object::unique_device_id);
    versions.hardware = version(daemon_, Device_object::hardware_version);
    versions.firmware = version(daemon_, Device_object::firmware_version);
    return versions;
}

void Periodic_poll::request_missing(const Versions& versions)
{
    if (!is_known(versions.unique_id))
        link_.send_message(Message_id::unique_id_request);
    if (!is_known(versions.hardware))
        link_.send_message(Message_id::hardware_version_request);
    if (!is_known(versions.firmware)) {
        link_.send_message(Message_id::firmware_version_request);
        daemon_.set_firmware_detection_done(false);
    }
}

/// The controller's last configuration answer, asking for it when it is about something else. A
/// legacy controller has none and counts as agreeing with the daemon.
Periodic_poll::Configuration_byte Periodic_poll::configuration_byte(const Versions& versions)
{
    if (is_legacy_hardware(versions.hardware))
        return {daemon_.oem_code(), power_up_delay_offset, daemon_.remote_power_up_delay()};
    Configuration_byte byte = {255, 255, 255};
    auto* configuration = device<Configuration_interface>(daemon_, Device_object::configuration);
    if (configuration == nullptr)
        return byte;
    configuration->get(byte.oem_code, byte.offset, byte.value);
    // An answer about this offset, whatever its code, is not asked for again each period.
    if (byte.oem_code != daemon_.oem_code() && byte.offset != power_up_delay_offset)
        configuration->query(daemon_.oem_code(), power_up_delay_offset);
    return byte;
}

bool Periodic_poll::is_detection_due(const Versions& versions, const Configuration_byte& byte) const
{
    return is_known(versions.firmware) && is_known(versions.hardware) &&
           byte.oem_code == daemon_.oem_code() && byte.offset == power_up_delay_offset &&
           !daemon_.firmware_detection_done();
}

void Periodic_poll::correct_line_15(bool legacy_firmware)
{
    auto* ignition = device<Ignition_interface>(daemon_, Device_object::ignition);
    if (ignition == nullptr)
        return;
    uchar mode = no_byte;
    ignition->get_mode(mode);
    daemon_.log() << (legacy_firmware ? "Legacy PMC FW detected." : "Legacy PMC Hardware detected.")
                  << " Current Line 15 mode is " << int{mode} << std::endl;
    if (mode == remote_line_15_mode)
        return;
    link_.send_message(line_15_setting);
    // The mode it had: the one it has now is always the same.
    daemon_.log() << "Line 15 mode changed to " << int{mode} << std::endl;
}

void Periodic_poll::correct_power_up_delay(uchar current_delay)
{
    daemon_.log() << "OEM Profile based PMC FW detected" << std::endl;
    if (auto* profile = device<OEMprofile_interface>(daemon_, Device_object::oem_profile))
        profile->set_code(daemon_.oem_code());
    daemon_.log() << "OEM Remote Power up Delay detected. Is currently " << int{current_delay}
                  << std::endl;
    const uchar delay = daemon_.remote_power_up_delay();
    if (current_delay == delay)
        return;
    if (auto* configuration =
            device<Configuration_interface>(daemon_, Device_object::configuration))
        configuration->set(daemon_.oem_code(), power_up_delay_offset, delay);
    daemon_.log() << "OEM Remote Power up Delay changed to " << int{delay} << std::endl;
}
