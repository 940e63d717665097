#pragma once

#include "Device_object.h"

#include <array>

class Interface_base;

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
