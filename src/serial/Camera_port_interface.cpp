#include "Camera_port_interface.h"

uint Camera_port_interface::packet_length() const
{
    return 0;
}
