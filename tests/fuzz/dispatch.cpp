// Any messages of the controller, of any length, in any order, between changes of thresholds and
// limits: what the objects hold, print, log and signal is what the model of the catalogue says.

#include "ATX_interface.h"
#include "Analog_input_interface.h"
#include "Configuration_interface.h"
#include "Console.h"
#include "DBus_daemon.h"
#include "Daemon_model.h"
#include "Digital_input_interface.h"
#include "Digital_output_interface.h"
#include "Frequency_input_interface.h"
#include "Fuzz_world.h"
#include "Ignition_interface.h"
#include "LCD_backlight_interface.h"
#include "OEMprofile_interface.h"
#include "Object_table.h"
#include "Power_button_interface.h"
#include "Power_controller_interface.h"
#include "Version_interface.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include <unistd.h>

namespace {

/// A link that takes everything and sends nothing.
class Silent_link : public Power_controller_interface {
public:
    bool send_packet(const unsigned char* /*payload*/, int /*len*/) override { return true; }
};

/// The daemon with all its objects, without bus, files or line.
struct World {
    World();

    template <class Object>
    Object* object(Device_object number, std::size_t offset = 0)
    {
        const auto wanted = static_cast<std::size_t>(number) + offset;
        return static_cast<Object*>(daemon->devices()[static_cast<Device_object>(wanted)]);
    }

    Analog_input_interface* analog(std::size_t input);
    void listen();
    void compare();
    void compare_inputs();
    void compare_versions();

    int count = 1;
    char name[5] = "fuzz";
    char* arguments[2] = {name, nullptr};
    DBus_daemon* daemon = nullptr;
    Daemon_model model;
    std::string signalled;
};

World::World()
{
    static char directory[] = "/tmp/dov-fuzz-XXXXXX";
    require(mkdtemp(directory) != nullptr, "a directory can be made");
    setenv("DOV_TEST_ROOT", directory, 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", (std::string("unix:path=") + directory + "/no-bus").c_str(),
           1);
    captured_output().take();
    captured_errors().take();
    daemon = new DBus_daemon(count, arguments);
    daemon->set_link(new Silent_link);
    create_objects(daemon);
    std::atexit([] { (void)rmdir(directory); });
    listen();
    captured_output().take();
    captured_errors().take();
    take_log();
}

Analog_input_interface* World::analog(std::size_t input)
{
    using M = Daemon_model;
    if (input == 0)
        return object<Analog_input_interface>(Device_object::analog_input_0);
    if (input < M::temperature)
        return object<Analog_input_interface>(Device_object::voltage_input_0, input - M::voltage);
    if (input < M::light)
        return object<Analog_input_interface>(Device_object::temperature_input_0,
                                              input - M::temperature);
    return object<Analog_input_interface>(Device_object::ambient_light_input_0);
}

void World::listen()
{
    for (std::size_t i = 0; i < 4; ++i)
        QObject::connect(object<Digital_input_interface>(Device_object::digital_input_0, i),
                         &Digital_input_interface::changed,
                         [this, i](bool on) { signalled += spell("changed %zu %d\n", i, on); });
    for (std::size_t i = 0; i < Daemon_model::frequency; ++i) {
        QObject::connect(analog(i), &Analog_input_interface::val_changed,
                         [this, i](double value, bool timeout) {
                             signalled += spell("val_changed %zu %g %d\n", i, value, timeout);
                         });
        QObject::connect(analog(i), &Analog_input_interface::min_pass, [this, i](double value) {
            signalled += spell("min_pass %zu %g\n", i, value);
        });
        QObject::connect(analog(i), &Analog_input_interface::max_pass, [this, i](double value) {
            signalled += spell("max_pass %zu %g\n", i, value);
        });
    }
    QObject::connect(object<Frequency_input_interface>(Device_object::frequency_input_0),
                     &Frequency_input_interface::val_changed, [this](double value, bool timeout) {
                         signalled += spell("val_changed %zu %g %d\n", Daemon_model::frequency,
                                            value, timeout);
                     });
    QObject::connect(object<Ignition_interface>(Device_object::ignition),
                     &Ignition_interface::changed,
                     [this](bool on) { signalled += spell("ignition %d\n", on); });
    QObject::connect(object<Power_button_interface>(Device_object::power_button),
                     &Power_button_interface::short_press,
                     [this](int val) { signalled += spell("short_press %d\n", val); });
    QObject::connect(object<ATX_interface>(Device_object::atx), &ATX_interface::received,
                     [this] { signalled += "received\n"; });
}

void World::compare_inputs()
{
    for (std::size_t i = 0; i < 4; ++i) {
        bool on = false;
        object<Digital_input_interface>(Device_object::digital_input_0, i)->is_on(on);
        require(on == model.digital_inputs[i], "digital input");
        bool enabled = false;
        auto* output = object<Digital_output_interface>(Device_object::digital_output_0, i);
        output->is_on(on);
        output->is_enabled(enabled);
        require(on == model.outputs[i].on && enabled == model.outputs[i].enabled, "digital output");
    }
    for (std::size_t i = 0; i < Daemon_model::input_count; ++i) {
        double value = 0;
        if (i == Daemon_model::frequency)
            object<Frequency_input_interface>(Device_object::frequency_input_0)->get_value(value);
        else
            analog(i)->get_value(value);
        require(value == model.inputs[i].value, "input", std::to_string(i));
    }
}

void World::compare_versions()
{
    const auto text = [this](Device_object number) {
        QString version;
        object<Version_interface>(number)->get(version);
        return version.toStdString();
    };
    require(text(Device_object::hardware_version) == model.hardware, "hardware version");
    require(text(Device_object::firmware_version) == model.firmware, "firmware version");
    require(text(Device_object::unique_device_id) == model.unique_id, "unique identifier");
    captured_output().take();
}

void World::compare()
{
    const std::string printed = captured_output().take();
    require(printed == model.printed, "texts", printed + "but predicted:\n" + model.printed);
    const std::string errors = captured_errors().take();
    require(errors == model.errors, "errors", errors + "but predicted:\n" + model.errors);
    require(signalled == model.signalled, "signals",
            signalled + "but predicted:\n" + model.signalled);
    std::string logged;
    for (const Log_message& message : take_log())
        logged += message.text;
    require(logged == model.logged, "log", logged);
    compare_inputs();
    compare_versions();

    bool on = false;
    unsigned char bytes[3] = {};
    auto* ignition = object<Ignition_interface>(Device_object::ignition);
    ignition->is_on(on);
    ignition->get_mode(bytes[0]);
    require(on == model.ignition_on && bytes[0] == model.ignition_mode, "ignition");
    double brightness = 0;
    object<LCD_backlight_interface>(Device_object::display_backlight)->get_brightness(brightness);
    require(brightness == model.brightness, "brightness");
    object<Configuration_interface>(Device_object::configuration)
        ->get(bytes[0], bytes[1], bytes[2]);
    require(model.configuration == std::array<int, 3>{bytes[0], bytes[1], bytes[2]},
            "configuration");
    object<OEMprofile_interface>(Device_object::oem_profile)->get_code(bytes[0]);
    require(bytes[0] == model.oem_code, "OEM code");

    model.printed.clear();
    model.errors.clear();
    model.signalled.clear();
    model.logged.clear();
    signalled.clear();
}

void set_hysteresis(World& world, std::size_t input, double value)
{
    world.model.inputs[input].hysteresis = value;
    if (input == Daemon_model::frequency)
        world.object<Frequency_input_interface>(Device_object::frequency_input_0)
            ->set_hysteresis(value);
    else
        world.analog(input)->set_hysteresis(value);
}

void set_limits(World& world, std::size_t input, double minimum, double maximum)
{
    if (input == Daemon_model::frequency)
        return;
    world.model.inputs[input].minimum = minimum;
    world.model.inputs[input].maximum = maximum;
    world.analog(input)->set_min_value(minimum);
    world.analog(input)->set_max_value(maximum);
}

void receive(World& world, const Daemon_model::Message& message)
{
    const std::uint8_t nothing = 0;
    world.daemon->handle_packet(message.empty() ? &nothing : message.data(),
                                static_cast<uint>(message.size()));
    world.model.receive(message);
}

/// Brings everything to the same state, so that an input does the same after any other.
void rest(World& world)
{
    for (std::size_t i = 0; i < Daemon_model::input_count; ++i) {
        set_limits(world, i, -1000000.0, 1000000.0);
        set_hysteresis(world, i, -1);
    }
    for (const int id : {0x06, 0x10, 0x12, 0x16, 0x1a, 0x22, 0x24, 0x28, 0x2e, 0x32, 0x36, 0x3e})
        receive(world, {static_cast<std::uint8_t>(id), 0, 0, 0, 0, 0, 0, 0});
    receive(world, {0x34, 0, 0x55});
    for (std::size_t i = 0; i < Daemon_model::input_count; ++i)
        set_hysteresis(world, i, 1000000.0);
}

double number(Choices& choices)
{
    using Limits = std::numeric_limits<double>;
    static const double numbers[] = {0,
                                     0.001,
                                     1,
                                     5,
                                     50,
                                     100,
                                     1000,
                                     65535,
                                     -1,
                                     -50,
                                     -1e6,
                                     1e6,
                                     1e300,
                                     0.5,
                                     2.5,
                                     4.995,
                                     Limits::quiet_NaN(),
                                     Limits::infinity(),
                                     -Limits::infinity(),
                                     Limits::denorm_min()};
    return numbers[choices.below(std::size(numbers))];
}

void step(World& world, Choices& choices)
{
    static const std::uint8_t ids[] = {0x02, 0x06, 0x10, 0x12, 0x16, 0x1a, 0x1c, 0x1e, 0x20, 0x22,
                                       0x24, 0x28, 0x2a, 0x2e, 0x32, 0x34, 0x36, 0x3e, 0x40, 0x00};
    const unsigned int kind = choices.byte();
    const std::size_t input = kind % Daemon_model::input_count;
    if (kind >= 0xF0) {
        const double minimum = number(choices);
        set_limits(world, input, minimum, number(choices));
        return;
    }
    if (kind >= 0xE0) {
        set_hysteresis(world, input, number(choices));
        return;
    }
    Daemon_model::Message message;
    const unsigned int length = kind < 0xA0 ? 8 : kind % 13;
    const unsigned int id = kind % std::size(ids);
    for (unsigned int i = 0; i < length; ++i)
        message.push_back(i == 0 && ids[id] != 0 ? ids[id] : choices.byte());
    receive(world, message);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static auto* const world = new World;
    {
        const Console_batch batch; // one write for all the texts
        rest(*world);
        Choices choices(data, size);
        while (choices.are_left())
            step(*world, choices);
    }
    world->compare();
    return 0;
}
