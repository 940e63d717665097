#pragma once

#include <array>
#include <cstddef>

class Interface_base;

/// The objects on the bus, in the order in which they are created.
enum class Device_object : unsigned char {
    digital_input_0,
    digital_input_1,
    digital_input_2,
    digital_input_3,
    analog_input_0,
    frequency_input_0,
    voltage_input_0,
    voltage_input_1,
    voltage_input_2,
    voltage_input_3,
    voltage_input_4,
    voltage_input_5,
    temperature_input_0,
    temperature_input_1,
    temperature_input_2,
    temperature_input_3,
    temperature_input_4,
    temperature_input_5,
    frequency_output_0,
    digital_output_0,
    digital_output_1,
    digital_output_2,
    digital_output_3,
    ambient_light_input_0,
    system_power,
    lvds_power,
    display_power,
    display_backlight,
    display_backlight_power,
    operating_voltage,
    multi_led_0, ///< the first of twenty
    buzzer = multi_led_0 + 20,
    ignition,
    lock,
    power_button,
    can_power_0,
    can_power_1,
    can_power_2,
    can_power_3,
    eth_power,
    video_power,
    camera_power,
    uart_power,
    usb_power,
    camera,
    firmware_version,
    kernel_version,
    unique_device_id,
    serial_number,
    customer_part_number,
    hardware_version,
    media,
    configuration,
    oem_profile,
    atx,
    count
};

constexpr std::size_t device_object_count = static_cast<std::size_t>(Device_object::count);

/// The objects by their number, null until created and once deleted.
class Device_objects {
public:
    Interface_base*& operator[](Device_object object)
    {
        return objects_[static_cast<std::size_t>(object)];
    }
    Interface_base* operator[](Device_object object) const
    {
        return objects_[static_cast<std::size_t>(object)];
    }

private:
    std::array<Interface_base*, device_object_count> objects_{};
};
